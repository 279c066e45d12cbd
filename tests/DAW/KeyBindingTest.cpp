#include "DAW/KeyModifiers.h"
#include "Kora/DAW/DAW_Command.h"
#include "Kora/DAW/DAW_CommandRegistry.h"
#include "Kora/DAW/DAW_KeyBindingMap.h"
#include "Kora/DAW/DAW_KeyContextRegistry.h"
#include "Kora/DAW/DAW_KeyboardInputContext.h"
#include "Support/AllocationCounter.h"
#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

using Binding = Cmn_RefCountPtr<DAW_KeyBinding>;
using Event = Cmn_RefCountPtr<DAW_KeyEvent>;
using Modifiers = Cmn_AliasedRefCountPtr<DAW_EventModifiers>;
using Keyboard = Cmn_RefCountPtr<DAW_KeyboardState>;
using States = ModifierStates;
using Strings = std::vector<std::string>;
using Context = DAW_KeyboardInputContext;

States StatesOf(const DAW_EventModifiers& m)
{
    return {m.GetMenuCommandKeyState(),  m.GetAlernateKeyState(),     m.GetMetaKeyState(),
            m.GetShiftKeyState(),        m.GetLeftMouseButtonState(), m.GetMiddleMouseButtonState(),
            m.GetRightMouseButtonState()};
}

Event Key(int iCode) { return DAW_KeyEvent::New(static_cast<DAW_EKeyCode>(iCode)); }

// Writes down what it is asked to do, and does what a test wants it to.
class Command : public DAW_Command
{
public:
    using DAW_Command::DAW_Command;
    ~Command() override { sLog += "~"; }
    void DoCommandX() override { Note("X"); }
    void DoCommandStart(Modifiers, KeyboardState) override { Note("S"); }
    void DoCommandEnd(Modifiers, KeyboardState) override { Note("E"); }
    void Note(const char* iText)
    {
        sLog += iText;
        if (const auto doing = mDoing) doing(); // a copy: it may delete this
    }
    std::function<void()> mDoing;
    static inline std::string sLog;
};

class KeyBindings : public testing::Test
{
protected:
    KeyBindings()
    {
        Command::sLog.clear();
        mContext.SetKeyBindingMap(&mMap);
        Context::SetCurrentKeyboardInputContext(&mContext);
    }
    Binding Bind(DAW_Command* iCommand, const States& iStates = {}, DAW_EAutoKey iAuto = DAW_eAutoKey_No)
    {
        const Binding binding =
            DAW_KeyBinding::New(DAW_KeyEvent::New(DAW_eKeyCode_A, iAuto), MakeModifiers(iStates), iCommand);
        mMap.AddKeyBinding(binding);
        return binding;
    }
    // What the command was asked to do, then whether the event was taken.
    std::string Send(int iKeyState = 0, DAW_EAutoKey iAuto = DAW_eAutoKey_No, const States& iStates = {})
    {
        Command::sLog.clear();
        const Event event =
            DAW_KeyEvent::New(DAW_eKeyCode_A, iAuto, "a", static_cast<DAW_EKeyState>(iKeyState));
        const bool isTaken = Context::HandleKeyEvent(event, MakeModifiers(iStates), nullptr);
        return Command::sLog + (isTaken ? "+" : "-");
    }

    DAW_KeyBindingMap mMap;
    Context mContext{1, "Edit"};
};

TEST_F(KeyBindings, RandomMapsFindTheFirstThatThePlainRuleTakes)
{
    std::mt19937 random(1125);
    const auto randomStates = [&](unsigned iKeyStates) {
        States states;
        for (std::size_t i = 0; i < 7; ++i)
            states[i] = static_cast<int>(random() % (i < 4 ? iKeyStates : 2) + (random() % 64 == 0 ? 2 : 0));
        return states;
    };
    const auto randomKey = [&] { return Key(std::array{-5, 0, 3, 41, 112, 113, 4000}[random() % 7]); };
    std::vector<std::unique_ptr<Command>> commands;
    for (int id = 0; id < 20; ++id)
        commands.push_back(std::make_unique<Command>("c", id, 0));
    std::vector<Binding> model; // in the order of adding
    for (int step = 0; step < 4000; ++step) {
        const unsigned action = static_cast<unsigned>(random() % 8);
        if (action < 3 || model.empty()) {
            DAW_Command* const command = random() % 9 == 0 ? nullptr : commands[random() % 20].get();
            model.push_back(DAW_KeyBinding::New(randomKey(), MakeModifiers(randomStates(3)), command));
            mMap.AddKeyBinding(model.back());
        } else if (action < 5) {
            const auto victim = model.begin() + static_cast<long>(random() % model.size());
            mMap.DeleteKeyBinding(*victim);
            const Binding gone = *victim;
            model.erase(victim);
            EXPECT_EQ(gone->GetRefCount(), 1);
            mMap.DeleteKeyBinding(gone); // not here any more
            mMap.DeleteKeyBinding(
                DAW_KeyBinding::New(gone->GetKeyEvent(), gone->GetEventModifiers(), nullptr));
        } else if (action == 5) { // a change shows at once
            model[random() % model.size()]->GetEventModifiers()->SetShiftKeyState(
                static_cast<DAW_EShiftKeyState>(random() % 3));
        }
        const Event event = randomKey();
        const Modifiers modifiers = MakeModifiers(randomStates(step % 2 == 0 ? 3 : 2));
        Binding expected;
        for (const Binding& binding : model) {
            if (expected || binding->GetKeyEvent()->GetKeyCode() != event->GetKeyCode()) continue;
            const States bound = StatesOf(*binding->GetEventModifiers()), given = StatesOf(*modifiers);
            bool matches = true;
            for (std::size_t i = 0; i < 7; ++i)
                matches = matches && (bound[i] == given[i] || (i < 4 && (bound[i] == 2 || given[i] == 2)));
            if (matches) expected = binding;
        }
        ASSERT_EQ(mMap.FindMatchingKeyBinding(event, modifiers), expected) << step;
        std::vector<Binding> inOrder = model;
        std::stable_sort(inOrder.begin(), inOrder.end(), [](const Binding& iLeft, const Binding& iRight) {
            return iLeft->GetKeyEvent()->GetKeyCode() < iRight->GetKeyEvent()->GetKeyCode();
        });
        ASSERT_TRUE(std::equal(inOrder.begin(), inOrder.end(), mMap.GetKeyMap().begin(),
                               mMap.GetKeyMap().end(),
                               [](auto& iLeft, auto& iRight) { return iLeft == iRight.second; }));
        const auto byID = std::find_if(inOrder.begin(), inOrder.end(), [&](const Binding& iBinding) {
            return iBinding->GetCommand() != nullptr && iBinding->GetCommand()->GetCommandID() == step % 22;
        });
        ASSERT_EQ(mMap.FindKeyBindingByID(step % 22), byID != inOrder.end() ? *byID : nullptr);
    }
}

TEST_F(KeyBindings, ABindingAddedTwiceIsDeletedTwiceAndNothingIsKept)
{
    const Binding binding = Bind(nullptr);
    mMap.AddKeyBinding(binding);
    EXPECT_EQ(binding->GetRefCount(), 3);
    const AllocationCounter allocations;
    EXPECT_EQ(mMap.FindMatchingKeyBinding(binding->GetKeyEvent(), binding->GetEventModifiers()), binding);
    EXPECT_EQ(allocations.Count(), 0);
    mMap.DeleteKeyBinding(mMap.GetKeyMap().begin()->second); // the map's own reference
    EXPECT_EQ(mMap.GetKeyMap().size(), 1u);
    mMap.DeleteKeyBinding(binding);
    EXPECT_EQ(mMap.FindMatchingKeyBinding(binding->GetKeyEvent(), binding->GetEventModifiers()), nullptr);
    EXPECT_EQ(binding->GetRefCount(), 1);
    EXPECT_EQ(binding->GetKeyEvent()->GetRefCount(), 1);
    EXPECT_EQ(binding->GetEventModifiers()->GetRefCount(), 1);

    const AssertRecorder asserts;
    mMap.AddKeyBinding(nullptr);
    mMap.AddKeyBinding(DAW_KeyBinding::New(nullptr, binding->GetEventModifiers(), nullptr));
    mMap.AddKeyBinding(DAW_KeyBinding::New(binding->GetKeyEvent(), nullptr, nullptr));
    EXPECT_EQ(mMap.FindMatchingKeyBinding(nullptr, binding->GetEventModifiers()), nullptr);
    EXPECT_EQ(asserts.Take().size(), 4u);
    EXPECT_TRUE(mMap.GetKeyMap().empty());
}

TEST_F(KeyBindings, TheDumpReadsLikeAListOfKeys)
{
    Command bounce("Bounce", 1201, 0);
    Bind(&bounce, {1, 2, 0, 1});
    mMap.AddKeyBinding(DAW_KeyBinding::New(DAW_KeyEvent::New(DAW_eKeyCode_Esc, DAW_eAutoKey_Yes),
                                           MakeModifiers({0, 0, 0, 0, 1}), nullptr));
    EXPECT_EQ(mMap.Dump(),
              "<LeftButton>+'Esc' repeating: no command\n<Ctrl>+<Shift>+[Alt]+'A': 1201 Bounce\n");
}

TEST_F(KeyBindings, CommandsRunByTheirTypeStateAndRepeat)
{
    for (int row = 0; row < 8; ++row) {
        const bool isMomentary = row & 1;
        const auto bound = static_cast<DAW_EAutoKey>(row >> 1 & 1),
                   sent = static_cast<DAW_EAutoKey>(row >> 2);
        const bool isUnwanted = sent && !bound;
        Command command("c", 1, 0, static_cast<DAW_ECommandType>(isMomentary));
        const Binding binding = Bind(&command, {}, bound);
        EXPECT_EQ(Send(0, sent), isUnwanted ? "+" : isMomentary ? "S+" : "X+") << row;
        for (const int release : {1, 2, -1})
            EXPECT_EQ(Send(release, sent), isUnwanted || !isMomentary ? "+" : "E+") << row;
        command.SetEnabled(false);
        EXPECT_EQ(Send(0, sent), "-") << row;
        mMap.DeleteKeyBinding(binding);
        EXPECT_EQ(Send(0, sent), "-") << row;
    }
}

TEST_F(KeyBindings, WhatCannotRunIsNotTaken)
{
    const AssertRecorder asserts;
    Command strange("c", 1, 0, static_cast<DAW_ECommandType>(2)), plain("p", 2, 0);
    const Binding nothing = Bind(nullptr);
    Bind(&plain);
    EXPECT_EQ(Send(), "-"); // the first binding wins, and has no command
    mMap.DeleteKeyBinding(nothing);
    EXPECT_EQ(Send(), "X+");
    EXPECT_EQ(Send(0, DAW_eAutoKey_No, {0, 0, 0, 1, 0, 0, 0}), "-");
    Bind(&strange, {0, 0, 0, 2, 1, 0, 0});
    EXPECT_EQ(asserts.Take(), Strings());
    EXPECT_EQ(Send(0, DAW_eAutoKey_No, {0, 0, 0, 1, 1, 0, 0}), "+");
    EXPECT_EQ(asserts.Take(), Strings({"0@$^$@DAW/DAW_KeyboardInputContext"}));
    mContext.SetKeyBindingMap(nullptr);
    EXPECT_EQ(Send(), "-");
    Context::SetCurrentKeyboardInputContext(nullptr);
    EXPECT_EQ(Send(), "-");
}

// Each of these reads freed memory if anything is touched after the command; the address sanitizer would tell.
TEST_F(KeyBindings, ARunningCommandMayDeleteAllAroundIt)
{
    auto* command = new Command("c", 900, 0);
    auto* map = new DAW_KeyBindingMap;
    auto* context = new Context(900, "Short-lived");
    context->SetKeyBindingMap(map);
    Context::SetCurrentKeyboardInputContext(context);
    DAW_CommandRegistry::RegisterCommand(command);
    Event event = Key(DAW_eKeyCode_B);
    Modifiers modifiers = MakeModifiers({});
    Keyboard keyboard = DAW_KeyboardState::New({}, DAW_eKeyStateArrayFormat_ByKeyCode);
    map->AddKeyBinding(DAW_KeyBinding::New(event, modifiers, command));
    command->mDoing = [&] {
        Context::SetCurrentKeyboardInputContext(&mContext); // only for the next event
        delete std::exchange(context, nullptr);
        map->DeleteKeyBinding(map->GetKeyMap().begin()->second);
        delete std::exchange(map, nullptr);
        event = nullptr, modifiers = nullptr, keyboard = nullptr; // the very references of the call
        DAW_CommandRegistry::RegisterCommand(new Command("c", 900, 0));
        Command::sLog += "|";
    };
    EXPECT_TRUE(Context::HandleKeyEvent(event, modifiers, keyboard));
    EXPECT_EQ(Command::sLog, "X~|");
    EXPECT_EQ(Context::GetCurrentKeyboardInputContext(), &mContext);
    EXPECT_FALSE(Context::HandleKeyEvent(Key(DAW_eKeyCode_B), MakeModifiers({}), nullptr));
    delete DAW_CommandRegistry::FindCommandByID(900);
    DAW_CommandRegistry::RemoveRegisteredCommand(900L);
}

TEST(EventModifiers, TheTextIsThatOfThePlainModelForAll81States)
{
    const Strings names[] = {
        {"Ctrl",    "Alt",    "Winkey",  "Shift"},
        {"command", "option", "control", "shift"}
    };
    for (int code = 0; code < 81; ++code) {
        const States states = {code % 3, code / 3 % 3, code / 9 % 3, code / 27, 1, 0, 0};
        for (const bool isMac : {false, true}) {
            std::string expected;
            for (const int state : {1, 2})
                for (std::size_t key = 0; key < 4; ++key)
                    if (states[key] == state)
                        expected += (state == 1 ? "+<" : "+[") + names[isMac][key] + (state == 1 ? ">" : "]");
            EXPECT_EQ(MakeModifiers(states)->GetKeyModifiersDescriptiveString(isMac), expected.erase(0, 1))
                << code;
        }
    }
    EXPECT_EQ(MakeModifiers({1, 2, 0, 1})->GetKeyModifiersDescriptiveString(false), "<Ctrl>+<Shift>+[Alt]");
    EXPECT_EQ(MakeModifiers({1, 2, 0, 1, 1, 0, 1})->GetMouseModifiersDescriptiveString(),
              "<LeftButton>+<RightButton>");
    EXPECT_EQ(MakeModifiers({1, 1, 1, 1, 0, 1, 0})->GetMouseModifiersDescriptiveString(), "<MiddleButton>");
    EXPECT_EQ(MakeModifiers({1, 1, 1, 1})->GetMouseModifiersDescriptiveString(), "");
}

TEST(EventModifiers, EachStateIsItsOwn)
{
    for (std::size_t at = 0; at < 7; ++at)
        for (int state = 0; state < 3; ++state) {
            States states{};
            states[at] = state;
            const Modifiers modifiers = MakeModifiers(states);
            EXPECT_EQ(StatesOf(*modifiers), states);
            const auto& m = *modifiers;
            const States isDown = {m.MenuCommandKeyIsDown(), m.AlternateKeyIsDown(), m.MetaKeyIsDown(),
                                   m.ShiftKeyIsDown(),       m.LeftButtonIsDown(),   m.MiddleButtonIsDown(),
                                   m.RightButtonIsDown()};
            states[at] = state == 1;
            EXPECT_EQ(isDown, states);
            states[at] = state;
            EXPECT_EQ(*modifiers != *MakeModifiers({}), state != 0);
            EXPECT_EQ(*modifiers == *MakeModifiers(states), true);
        }
}

TEST(KeyEvent, EqualityLooksAtTheTextAndOrderDoesNot)
{
    const Event a = DAW_KeyEvent::New(DAW_eKeyCode_A, DAW_eAutoKey_No, "a");
    const Event capital = DAW_KeyEvent::New(DAW_eKeyCode_A, DAW_eAutoKey_Yes, "A", DAW_eKeyState_Up);
    const Event b = DAW_KeyEvent::New(DAW_eKeyCode_B, DAW_eAutoKey_No, "a");
    EXPECT_TRUE(*a != *capital && !(*a == *capital) && !(*a < *capital) && !(*a > *capital));
    EXPECT_TRUE((*a < *b) && (*b > *a) && !(*b < *a) && (*a != *b));
    EXPECT_TRUE(*a == *DAW_KeyEvent::New(DAW_eKeyCode_A, DAW_eAutoKey_Yes, "a", DAW_eKeyState_Up));
    EXPECT_TRUE(capital->IsAutoKey() && !a->IsAutoKey() && capital->GetKeyState() == DAW_eKeyState_Up);
}

} // namespace
