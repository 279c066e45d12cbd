#include "Commands.h"

#include "Kora/Commands.h"
#include "Session.h"

#include <memory>

namespace {

void (*sQuit)() = nullptr;

// A command without modifiers: a function of the session.
class PlainCommand : public DAW_Command
{
public:
    PlainCommand(const char* iName, CommandID iID, Session& ioSession, void (*iDo)(Session&))
        : DAW_Command(iName, iID, 0)
        , mSession(ioSession)
        , mDo(iDo)
    {
    }
    void DoCommandX() override { mDo(mSession); }

private:
    Session& mSession;
    void (*const mDo)(Session&);
};

class SaveCommand : public PlainCommand
{
public:
    explicit SaveCommand(Session& ioSession)
        : PlainCommand("Save", eCommand_Save, ioSession,
                       [](Session& ioOpen) {
                           ioOpen.mModified = false;
                           ioOpen.Say("saved " + ioOpen.mTitle);
                       })
        , mOpen(ioSession)
    {
    }
    bool IsEnabled(bool) override { return mOpen.mModified; }

private:
    const Session& mOpen;
};

class NudgeCommand : public DAW_Command
{
public:
    explicit NudgeCommand(Session& ioSession)
        : DAW_Command("Nudge", eCommand_Nudge, 0)
        , mSession(ioSession)
    {
    }
    void DoCommand(Cmn_AliasedRefCountPtr<DAW_EventModifiers> iModifiers,
                   Cmn_RefCountPtr<DAW_KeyboardState> iState) override
    {
        const auto coarse = DAW_CommandOptionRegistry::FindByOwnerCommandIDAndName(eCommand_Nudge, "coarse");
        const int steps = coarse && coarse->GetOptionState(iModifiers, iState) ? 16 : 1;
        mSession.mGridSteps += steps;
        mSession.mModified = true;
        mSession.Say("nudged by " + std::to_string(steps) + " to step " +
                     std::to_string(mSession.mGridSteps));
    }

private:
    Session& mSession;
};

class ScrubCommand : public DAW_Command
{
public:
    explicit ScrubCommand(Session& ioSession)
        : DAW_Command("Scrub", eCommand_Scrub, 0, DAW_eCommandType_Momentary)
        , mSession(ioSession)
    {
    }
    void DoCommandStart(Cmn_AliasedRefCountPtr<DAW_EventModifiers>,
                        Cmn_RefCountPtr<DAW_KeyboardState>) override
    {
        mSession.Say("scrubbing …");
    }
    void DoCommandEnd(Cmn_AliasedRefCountPtr<DAW_EventModifiers>, Cmn_RefCountPtr<DAW_KeyboardState>) override
    {
        mSession.Say("… scrubbed");
    }

private:
    Session& mSession;
};

} // namespace

void RegisterCommands(Session& ioSession, void (*iQuit)())
{
    sQuit = iQuit;
    DAW_CommandRegistry::RegisterCommand(
        new PlainCommand("New", eCommand_New, ioSession,
                         [](Session& ioOpen) { ioOpen.Open("Song " + std::to_string(++ioOpen.mSongs)); }));
    DAW_CommandRegistry::RegisterCommand(new SaveCommand(ioSession));
    DAW_CommandRegistry::RegisterCommand(
        new PlainCommand("Quit", eCommand_Quit, ioSession, [](Session&) { sQuit(); }));
    DAW_CommandRegistry::RegisterCommand(
        new PlainCommand("Loop", eCommand_Loop, ioSession, [](Session& ioOpen) {
            ioOpen.mLoops = !ioOpen.mLoops;
            ioOpen.Say(ioOpen.mLoops ? "loop on" : "loop off");
        }));
    DAW_CommandRegistry::RegisterCommand(new NudgeCommand(ioSession));
    DAW_CommandRegistry::RegisterCommand(new ScrubCommand(ioSession));
    DAW_CommandOptionRegistry::RegisterCommandOption(
        DAW_CommandOption::New(eCommand_Nudge, "coarse", DAW_eModifierKind_Shift, false));
}

void RemoveCommands()
{
    for (const CommandID id :
         {eCommand_New, eCommand_Save, eCommand_Quit, eCommand_Loop, eCommand_Nudge, eCommand_Scrub})
    {
        const std::unique_ptr<DAW_Command> command(DAW_CommandRegistry::FindCommandByID(id));
        DAW_CommandRegistry::RemoveRegisteredCommand(id);
    }
}
