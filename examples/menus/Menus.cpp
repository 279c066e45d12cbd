#include "Menus.h"

#include "Commands.h"
#include "Keys.h"
#include "Kora/Commands.h"
#include "Session.h"

namespace {

// An item that invokes a command, with the command's shortcut at its right.
class CommandEntry : public DAW_MenuEntrySimple
{
public:
    CommandEntry(const char* iTitle, CommandID iCommand)
        : mTitle(iTitle)
        , mCommand(iCommand)
    {
    }
    std::string GetMenuText() override
    {
        const std::string shortcut = ShortcutOf(mCommand);
        return shortcut.empty() ? mTitle : mTitle + "\t" + shortcut;
    }
    bool MenuEntryIsEnabled() override
    {
        DAW_Command* const command = DAW_CommandRegistry::FindCommandByID(mCommand);
        return command != nullptr && command->IsEnabled(true);
    }
    void DoIt() override
    {
        if (DAW_Command* const command = DAW_CommandRegistry::FindCommandByID(mCommand)) {
            command->DoCommand(ModifiersOf(KeyChord()), nullptr);
        }
    }

private:
    const std::string mTitle;
    const CommandID mCommand;
};

class LoopEntry : public CommandEntry
{
public:
    explicit LoopEntry(const Session& iSession)
        : CommandEntry("&Loop", eCommand_Loop)
        , mSession(iSession)
    {
    }
    bool MenuEntryIsChecked() override { return mSession.mLoops; }

private:
    const Session& mSession;
};

// The recent songs, as many as there are, numbered as their mnemonics.
class RecentEntry : public DAW_MenuEntryCompound
{
public:
    explicit RecentEntry(Session& ioSession)
        : mSession(ioSession)
    {
    }
    Cmn_Int32 GetNumberOfItems() override
    {
        mShown = mSession.mRecent; // what an index means until the menu is updated
        return static_cast<Cmn_Int32>(mShown.size());
    }
    std::string GetMenuText(Cmn_Int32 iIndex) override
    {
        return "&" + std::to_string(iIndex + 1) + " " + mShown.at(static_cast<std::size_t>(iIndex));
    }
    bool MenuEntryIsChecked(Cmn_Int32 iIndex) override
    {
        return mShown.at(static_cast<std::size_t>(iIndex)) == mSession.mTitle;
    }
    void DoIt(Cmn_Int32 iIndex) override { mSession.Open(mShown.at(static_cast<std::size_t>(iIndex))); }

private:
    Session& mSession;
    std::vector<std::string> mShown;
};

} // namespace

std::unique_ptr<DAW_MenuEntrySubMenu> MakeMenuBar(Session& ioSession)
{
    auto file = std::make_unique<DAW_MenuEntrySubMenu>("&File");
    file->AppendEntry(std::make_unique<CommandEntry>("&New", eCommand_New));
    file->AppendEntry(std::make_unique<CommandEntry>("&Save", eCommand_Save));
    file->AppendEntry(std::make_unique<DAW_MenuEntrySeparator>());
    file->AppendEntry(std::make_unique<RecentEntry>(ioSession));
    file->AppendEntry(std::make_unique<DAW_MenuEntrySeparator>());
    file->AppendEntry(std::make_unique<CommandEntry>("&Quit", eCommand_Quit));

    auto transport = std::make_unique<DAW_MenuEntrySubMenu>("&Transport");
    transport->AppendEntry(std::make_unique<LoopEntry>(ioSession));
    transport->AppendEntry(std::make_unique<CommandEntry>("&Nudge", eCommand_Nudge));

    auto bar = std::make_unique<DAW_MenuEntrySubMenu>("");
    bar->AppendEntry(std::move(file));
    bar->AppendEntry(std::move(transport));
    return bar;
}
