// World: undoable notes and one fader, whose whole content is a line of text: "1=60 3=67 fader 0".
//
// Every call that the undo machinery makes into them is written into sCalls, and the sThrowAt-th of those
// that may throw does (counted from 0).
#pragma once

#include "Kora/Ndo/Ndo_Action.h"
#include "Kora/Ndo/Ndo_ExternalRef.h"
#include "Kora/Ndo/Ndo_Object.h"
#include "Kora/Ndo/Ndo_Operation.h"
#include "Kora/Ndo/Ndo_StOperationRecorder.h"
#include "Kora/Ndo/Ndo_State.h"
#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <stdexcept>

using Reports = std::vector<std::string>;

struct World
{
    static inline std::string sCalls;
    static inline int sThrowAt = -1;
    static inline int sNumStates = 0;
    static inline int sFader = 0;
    static inline std::function<void()> sWhenRestored;
    static inline std::set<class Note*> sNotes;

    static void Called(const std::string& iCall, bool iMayThrow = true)
    {
        sCalls += iCall + "; ";
        if (iMayThrow && sThrowAt >= 0 && sThrowAt-- == 0) throw std::runtime_error(iCall);
    }
    static std::string Text();
    static void Reset();
};

class Note : public Ndo_Object
{
public:
    explicit Note(EUndoFlag iFlag, int iPitch = 0)
        : Ndo_Object(iFlag)
        , mPitch(iPitch)
    {
        World::sNotes.insert(this);
    }
    ~Note() override { World::sNotes.erase(this); }
    static Note* New(int iPitch) { return new Note(kUndoable, iPitch); }

    void Set(int iPitch)
    {
        NdoAboutToModify();
        mPitch = iPitch;
    }
    int Pitch() const { return mPitch; }
    std::string Name() const { return std::to_string(NdoGetID()); }

    Ndo_State* NdoGetState() override
    {
        World::Called("get " + Name());
        return mNoState ? nullptr : new State(NdoGetID(), mPitch);
    }
    void NdoRestoreState(Ndo_State* iState) override
    {
        World::Called("restore " + Name());
        mPitch = static_cast<State*>(iState)->mPitch;
        if (mWhenRestored != nullptr) std::exchange(mWhenRestored, nullptr)();
        if (World::sWhenRestored != nullptr) World::sWhenRestored();
    }
    void NdoCleanup() override { World::Called("cleanup " + Name()); }

    bool mNoState = false;
    std::function<void()> mWhenRestored; // called once

private:
    struct State : Ndo_State
    {
        State(Cmn_Int64 iID, int iPitch)
            : mID(iID)
            , mPitch(iPitch)
        {
            ++World::sNumStates;
        }
        ~State() override
        {
            --World::sNumStates;
            World::Called("free " + std::to_string(mID), false);
        }
        std::size_t NdoGetByteCount() const noexcept override { return 8; }
        Ndo_Object* NdoCreateObject() override
        {
            World::Called("create " + std::to_string(mID));
            return new Note(kNoUndo);
        }
        Cmn_Int64 mID;
        int mPitch;
    };

    int mPitch;
};

// Its Undo is an action too, so that an operation that records meanwhile gets the way forward.
struct MoveFader : Ndo_Action
{
    explicit MoveFader(int iTo)
        : mTo(iTo)
    {
    }
    static void Log(int iTo) { (new MoveFader(iTo))->LogAction(); }
    ~MoveFader() override { World::Called("drop " + std::to_string(mTo), false); }
    bool Do() override
    {
        if (!mSucceeds) return false;
        mFrom = World::sFader;
        World::sFader = mTo;
        return true;
    }
    void Undo() override
    {
        World::Called("undo " + std::to_string(mTo));
        Log(mFrom);
    }
    bool AutoDeleteOnFail() override { return mAutoDelete; }
    std::size_t GetByteCount() const noexcept override { return 5; }

    int mFrom = 0;
    int mTo;
    bool mSucceeds = true;
    bool mAutoDelete = true;
};

inline std::string World::Text()
{
    std::map<Cmn_Int64, int> pitches;
    for (const Note* note : sNotes)
        pitches[note->NdoGetID()] = note->Pitch();
    std::string text;
    for (const auto& [id, pitch] : pitches)
        text += std::to_string(id) + "=" + std::to_string(pitch) + " ";
    return text + "fader " + std::to_string(sFader);
}

// Nobody records.
inline void World::Reset()
{
    while (!sNotes.empty())
        (*sNotes.begin())->NdoDelete();
    sCalls.clear();
    sThrowAt = -1;
    sFader = 0;
    sWhenRestored = nullptr;
}

// A world for each test, in which every snapshot is freed.
class WorldTest : public testing::Test
{
protected:
    WorldTest() { World::Reset(); }
    ~WorldTest() override
    {
        World::Reset();
        EXPECT_EQ(World::sNumStates, 0);
    }

    static std::unique_ptr<Ndo_Operation> Record(const std::function<void()>& iEdit)
    {
        Ndo_StOperationRecorder recorder;
        iEdit();
        return recorder.OperationComplete();
    }

    AssertRecorder mRecorder;
};
