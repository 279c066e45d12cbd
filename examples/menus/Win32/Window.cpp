#include "Win32/Window.h"

#include "Kora/Commands.h"
#include "Win32/Wide.h"

#include <iostream>
#include <vector>

namespace {

constexpr wchar_t cClassName[] = L"KoraMenus";
constexpr int cLineHeight = 18;
constexpr int cLeft = 220; // beside the first menu, where the lines stay in sight
constexpr std::size_t cMostLines = 14;

bool IsHeld(int iVirtualKey) { return GetKeyState(iVirtualKey) < 0; }

MenuLine LineOf(HMENU iMenu, int iPosition, int iDepth, HMENU& oPopup)
{
    wchar_t text[200] = {};
    MENUITEMINFOW item = {};
    item.cbSize = sizeof item;
    item.fMask = MIIM_STATE | MIIM_ID | MIIM_SUBMENU | MIIM_FTYPE | MIIM_STRING;
    item.dwTypeData = text;
    item.cch = 200;
    GetMenuItemInfoW(iMenu, static_cast<UINT>(iPosition), TRUE, &item);
    oPopup = item.hSubMenu;
    const bool separator = (item.fType & MFT_SEPARATOR) != 0;
    return {iDepth,
            static_cast<Cmn_Int16>(item.wID),
            separator ? "" : Narrow(text),
            (item.fState & MFS_DISABLED) == 0,
            (item.fState & MFS_CHECKED) != 0,
            separator};
}

// What the system's menus hold, popups brought up to date as when they open.
void Collect(HWND iWindow, HMENU iMenu, int iDepth, std::vector<MenuLine>& ioLines)
{
    for (int i = 0; i < GetMenuItemCount(iMenu); ++i) {
        HMENU popup = nullptr;
        ioLines.push_back(LineOf(iMenu, i, iDepth, popup));
        if (popup == nullptr) continue;
        SendMessageW(iWindow, WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(popup), i);
        Collect(iWindow, popup, iDepth + 1, ioLines);
    }
}

} // namespace

Window::Window(DAW_MenuEntrySubMenu& ioBar)
    : mMenu(DAW_MenuDataWin32::CreateDAW_Menu(&ioBar))
{
    WNDCLASSW itsClass = {};
    itsClass.lpfnWndProc = Procedure;
    itsClass.hInstance = GetModuleHandleW(nullptr);
    itsClass.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512)); // IDC_ARROW
    itsClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
    itsClass.lpszClassName = cClassName;
    RegisterClassW(&itsClass);
    mWindow = CreateWindowW(cClassName, L"Kora: menus and keys", WS_OVERLAPPEDWINDOW, 20, 20, 560, 340,
                            nullptr, mMenu->GetMenuHandle(), itsClass.hInstance, nullptr);
    SetWindowLongPtrW(mWindow, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    ShowWindow(mWindow, SW_SHOW);
    UpdateWindow(mWindow);
}

Window::~Window()
{
    if (!IsWindow(mWindow)) return;
    SetWindowLongPtrW(mWindow, GWLP_USERDATA, 0);
    SetMenu(mWindow, nullptr); // the menu data owns it
    DestroyWindow(mWindow);
}

void Window::Say(const std::string& iLine)
{
    mLines.push_back(Wide(iLine));
    if (mLines.size() > cMostLines) mLines.pop_front();
    InvalidateRect(mWindow, nullptr, TRUE);
}

void Window::Run()
{
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        // Not translated into characters: the bindings want the keys themselves.
        DispatchMessageW(&message);
    }
}

void Window::OpenMenu(char iMnemonic)
{
    SetForegroundWindow(mWindow);
    PostMessageW(mWindow, WM_SYSCOMMAND, SC_KEYMENU, iMnemonic);
}

void Window::ShowMenus()
{
    std::vector<MenuLine> lines;
    Collect(mWindow, GetMenu(mWindow), 0, lines);
    for (const MenuLine& line : lines)
        std::cout << Shown(line) << '\n';
}

bool Window::Choose(Cmn_Int16 iNumber)
{
    std::vector<MenuLine> lines;
    Collect(mWindow, GetMenu(mWindow), 0, lines);
    for (const MenuLine& line : lines) {
        if (line.mNumber != iNumber || !line.mEnabled) continue;
        SendMessageW(mWindow, WM_COMMAND, static_cast<WPARAM>(iNumber), 0);
        return true;
    }
    return false;
}

bool Window::Key(const KeyChord& iChord, bool iPressed, bool iRepeated)
{
    BYTE held[256] = {};
    if (iChord.mMenuCommand) held[VK_CONTROL] = 0x80;
    if (iChord.mAlternate) held[VK_MENU] = 0x80;
    if (iChord.mShift) held[VK_SHIFT] = 0x80;
    SetKeyboardState(held);
    bool isExtended = false;
    const Cmn_UInt16 key = DAW_KeyConversionUtils::DAW_EKeyCodeToWindowsKeyCode(iChord.mKey, isExtended);
    const LPARAM flags = 1 | (isExtended ? 1 << 24 : 0) | (iRepeated ? 1 << 30 : 0);
    mPlaysKey = true;
    mTookKey = false;
    SendMessageW(mWindow, iPressed ? WM_KEYDOWN : WM_KEYUP, key, flags);
    mPlaysKey = false;
    return mTookKey;
}

LRESULT CALLBACK Window::Procedure(HWND iWindow, UINT iMessage, WPARAM iWParam, LPARAM iLParam)
{
    auto* const window = reinterpret_cast<Window*>(GetWindowLongPtrW(iWindow, GWLP_USERDATA));
    if (window != nullptr && window->Handle(iMessage, iWParam, iLParam)) return 0;
    return DefWindowProcW(iWindow, iMessage, iWParam, iLParam);
}

// What the messages mean to the library.
bool Window::Handle(UINT iMessage, WPARAM iWParam, LPARAM iLParam)
{
    if (DAW_MenuMgrWin32::HandleMessage(iMessage, iWParam, iLParam)) return true;
    switch (iMessage) {
    case WM_KEYDOWN:
    case WM_KEYUP:
    case WM_SYSKEYDOWN:
    case WM_SYSKEYUP: {
        const bool isExtended = (iLParam >> 24 & 1) != 0;
        const KeyChord chord{DAW_KeyConversionUtils::WindowsKeyCodeToDAW_EKeyCode(
                                 static_cast<Cmn_UInt16>(iWParam), isExtended),
                             IsHeld(VK_CONTROL), IsHeld(VK_MENU), IsHeld(VK_SHIFT)};
        const bool isPress = iMessage == WM_KEYDOWN || iMessage == WM_SYSKEYDOWN;
        mTookKey = SendKey(chord, isPress, isPress && (iLParam >> 30 & 1) != 0);
        // Nobody would close a menu that the system opens for F10.
        return mTookKey || mPlaysKey;
    }
    case WM_PAINT:
        Paint();
        return true;
    case WM_DESTROY:
        PostQuitMessage(0);
        return true;
    default:
        return false;
    }
}

void Window::Paint()
{
    PAINTSTRUCT paint;
    const HDC context = BeginPaint(mWindow, &paint);
    SelectObject(context, GetStockObject(DEFAULT_GUI_FONT));
    int top = 8;
    for (const std::wstring& line : mLines) {
        TextOutW(context, cLeft, top, line.c_str(), static_cast<int>(line.size()));
        top += cLineHeight;
    }
    EndPaint(mWindow, &paint);
}
