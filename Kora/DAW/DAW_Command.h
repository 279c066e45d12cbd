// DAW_Command: an action of the application that keys and menu items invoke, with a number and a name.
//
//     class Bounce : public DAW_Command { … void DoCommandX() override { … } };
//     DAW_CommandRegistry::RegisterCommand(new Bounce("Bounce", 1201, 0));
//
// Kinds:     a one-shot command does its work when its key is pressed (DoCommand); a momentary one lasts from
//            press to release (DoCommandStart, DoCommandEnd), as a shuttle or a talkback does.
// Ownership: the registry's, once registered. A running command may remove itself and be deleted, or be
//            replaced: who invoked it asks it for nothing afterwards.
// Threads:   the user-interface thread.
#pragma once

#include "Bastel/Cmn/Cmn_RefCount.h"
#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <string>

class DAW_EventModifiers;
class DAW_KeyboardState;

// Whether a command does its work at once or lasts while its key is down.
enum DAW_ECommandType : Cmn_Int32 { DAW_eCommandType_OneShot = 0, DAW_eCommandType_Momentary = 1 };

class KORA_API DAW_Command
{
public:
    // What else was down when the key was pressed or let go.
    using Modifiers = Cmn_AliasedRefCountPtr<DAW_EventModifiers>;
    // All keys at that moment.
    using KeyboardState = Cmn_RefCountPtr<DAW_KeyboardState>;

    // iValue is the application's own, and carried unchanged: a track number, an index, a flag.
    DAW_Command(std::string iName, Cmn_Int32 iCommandID, Cmn_Int32 iValue);
    DAW_Command(std::string iName, Cmn_Int32 iCommandID, Cmn_Int32 iValue, DAW_ECommandType iType);
    virtual ~DAW_Command();
    DAW_Command(const DAW_Command&) = delete;
    DAW_Command& operator=(const DAW_Command&) = delete;

    // Whether the command can run now. iIsForDisplay: a menu or a button asks in order to show it, so that an
    // override can spare what is costly to find out; keys ask with false. It changes nothing.
    virtual bool IsEnabled(bool iIsForDisplay);
    // The work of a one-shot command, for those that look at no keys.
    virtual void DoCommandX();
    // The references are the command's own; the objects live at least until it returns. Null when
    // no keyboard was involved.
    virtual void DoCommand(Modifiers iModifiers, KeyboardState iKeyboardState); // DoCommandX
    // Of a momentary command: its key went down. Does nothing here.
    virtual void DoCommandStart(Modifiers iModifiers, KeyboardState iKeyboardState);
    // Of a momentary command: its key was let go. Does nothing here.
    virtual void DoCommandEnd(Modifiers iModifiers, KeyboardState iKeyboardState);

    void SetEnabled(bool iEnabled) { mEnabled = iEnabled; }
    const std::string& GetName() const { return mName; }
    Cmn_Int32 GetCommandID() const { return mCommandID; }
    Cmn_Int32 GetValue() const { return mValue; }
    DAW_ECommandType GetCommandType() const { return mType; }

private:
    bool mEnabled = true;
    std::string mName;
    Cmn_Int32 mCommandID;
    Cmn_Int32 mValue;
    DAW_ECommandType mType;
};
