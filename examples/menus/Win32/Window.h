// Window: the host's window with its menu bar, and the lines that the session said.
#pragma once

#include "Desk.h"
#include "Kora/DAW/Win32/DAW_MenuDataWin32.h"

#include <deque>
#include <memory>
#include <windows.h>

class Window : public Desk
{
public:
    // Shows a window with a menu bar made from ioBar, which outlives it.
    explicit Window(DAW_MenuEntrySubMenu& ioBar);
    ~Window() override;
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    // Shows one more line in the window.
    void Say(const std::string& iLine);
    // Runs until the window is closed.
    static void Run();
    // Opens the popup with this mnemonic, as Alt and the letter do.
    void OpenMenu(char iMnemonic);

    // These three go through the window's own messages, and through what the system's menus hold.
    void ShowMenus() override;
    bool Choose(Cmn_Int16 iNumber) override;
    bool Key(const KeyChord& iChord, bool iPressed, bool iRepeated) override;

private:
    static LRESULT CALLBACK Procedure(HWND iWindow, UINT iMessage, WPARAM iWParam, LPARAM iLParam);
    bool Handle(UINT iMessage, WPARAM iWParam, LPARAM iLParam);
    void Paint();

    std::unique_ptr<DAW_MenuDataWin32> mMenu;
    std::deque<std::wstring> mLines; // the newest last
    HWND mWindow = nullptr;
    bool mPlaysKey = false; // its messages come from Key
    bool mTookKey = false;  // a command took the last one
};
