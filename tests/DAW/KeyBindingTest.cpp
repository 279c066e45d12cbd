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
using States = ModifierStates;
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
    Binding Bind(DAW_Command* iCommand, const States& iStates = {}, DAW_EAutoKey iAuto = DAW_eAutoKey_No,
                 DAW_EKeyCode iKey = DAW_eKeyCode_A)
    {
        const Event event = DAW_KeyEvent::New(iKey, iAuto);
        const Binding binding = DAW_KeyBinding::New(event, MakeModifiers(iStates), iCommand);
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
    std::vector<Binding> model; // in the order of adding
    for (int step = 0; step < 4000; ++step) {
        const unsigned action = static_cast<unsigned>(random() % 8);
        if (action < 3 || model.empty()) {
            model.push_back(DAW_KeyBinding::New(randomKey(), MakeModifiers(randomStates(3)), nullptr));
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
            const States bound = StatesOf(*binding->GetEventModifiers());
            const States given = StatesOf(*modifiers);
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
        std::vector<Binding> listed;
        for (const auto& [key, binding] : mMap.GetKeyMap())
            listed.push_back(binding);
        ASSERT_EQ(listed, inOrder);
    }
}

TEST_F(KeyBindings, ABindingAddedTwiceIsDeletedTwiceAndNothingIsKept)
{
    const Binding binding = Bind(nullptr);
    mMap.AddKeyBinding(binding);
    EXPECT_EQ(binding->GetRefCount(), 3);
    mMap.DeleteKeyBinding(mMap.GetKeyMap().begin()->second); // the map's own reference
    EXPECT_EQ(mMap.GetKeyMap().size(), 1u);
    const AllocationCounter allocations;
    EXPECT_EQ(mMap.FindMatchingKeyBinding(binding->GetKeyEvent(), binding->GetEventModifiers()), binding);
    EXPECT_EQ(allocations.Count(), 0) << "nor does the first look-up after a deletion";
    mMap.DeleteKeyBinding(binding);
    EXPECT_EQ(mMap.FindMatchingKeyBinding(binding->GetKeyEvent(), binding->GetEventModifiers()), nullptr);
    EXPECT_TRUE(binding->GetRefCount() == 1 && binding->GetKeyEvent()->GetRefCount() == 1 &&
                binding->GetEventModifiers()->GetRefCount() == 1);
    const AssertRecorder asserts;
    mMap.AddKeyBinding(nullptr);
    mMap.AddKeyBinding(DAW_KeyBinding::New(nullptr, binding->GetEventModifiers(), nullptr));
    mMap.AddKeyBinding(DAW_KeyBinding::New(binding->GetKeyEvent(), nullptr, nullptr));
    EXPECT_EQ(mMap.FindMatchingKeyBinding(nullptr, binding->GetEventModifiers()), nullptr);
    EXPECT_EQ(asserts.Take().size(), 4u);
    EXPECT_TRUE(mMap.GetKeyMap().empty());
}

TEST_F(KeyBindings, TheDumpAndTheNumbersGoInTheOrderOfKeys)
{
    Command bounce("Bounce", 1201, 0);
    Bind(&bounce, {1, 2, 0, 1});
    Bind(&bounce, {0, 0, 0, 0, 1}, DAW_eAutoKey_Yes, DAW_eKeyCode_Esc);
    Bind(nullptr, {0, 0, 0, 0, 1}, DAW_eAutoKey_Yes, DAW_eKeyCode_Esc);
    EXPECT_EQ(mMap.Dump(),
              "<LeftButton>+'Esc' repeating: 1201 Bounce\n<LeftButton>+'Esc' repeating: no command\n"
              "<Ctrl>+<Shift>+[Alt]+'A': 1201 Bounce\n");
    EXPECT_EQ(mMap.FindKeyBindingByID(1201), mMap.GetKeyMap().begin()->second);
    EXPECT_EQ(mMap.FindKeyBindingByID(0), nullptr);
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
    Command strange("c", 1, 0, static_cast<DAW_ECommandType>(2));
    Command plain("p", 2, 0);
    const Binding nothing = Bind(nullptr);
    Bind(&plain);
    EXPECT_EQ(Send(), "-"); // the first binding wins, and has no command
    mMap.DeleteKeyBinding(nothing);
    EXPECT_EQ(Send(), "X+");
    EXPECT_EQ(Send(0, DAW_eAutoKey_No, {0, 0, 0, 1, 0, 0, 0}), "-");
    Bind(&strange, {0, 0, 0, 2, 1, 0, 0});
    EXPECT_TRUE(asserts.Take().empty());
    EXPECT_EQ(Send(0, DAW_eAutoKey_No, {0, 0, 0, 1, 1, 0, 0}), "+");
    EXPECT_EQ(asserts.Take(), std::vector<std::string>({"0@$^$@DAW/DAW_KeyboardInputContext"}));
    mContext.SetKeyBindingMap(nullptr);
    EXPECT_EQ(Send(), "-");
    Context::SetCurrentKeyboardInputContext(nullptr);
    EXPECT_EQ(Send(), "-");
}

// Each of these reads freed memory if anything is touched after the command; the
// address sanitizer would tell.
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
    auto keyboard = DAW_KeyboardState::New({}, DAW_eKeyStateArrayFormat_ByKeyCode);
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
    const std::vector<std::string> names[] = {{"Ctrl", "Alt", "Winkey", "Shift"},
                                              {"command", "option", "control", "shift"}};
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

TEST(EventModifiers, EachStateIsWhatItWasMadeOrSetTo)
{
    const States states = {1, 2, 3, 4, 5, 6, 7}; // told apart, though no enumeration has them all
    const Modifiers set = MakeModifiers({});
    set->SetMenuCommandKeyState(AnyState{1}), set->SetAlernateKeyState(AnyState{2});
    set->SetMetaKeyState(AnyState{3}), set->SetShiftKeyState(AnyState{4});
    set->SetLeftMouseButtonState(AnyState{5}), set->SetMiddleMouseButtonState(AnyState{6});
    set->SetRightMouseButtonState(AnyState{7});
    EXPECT_TRUE(StatesOf(*set) == states && StatesOf(*MakeModifiers(states)) == states &&
                *set == *MakeModifiers(states));
    for (std::size_t at = 0; at < 7; ++at) {
        States other = states;
        other[at] = 0;
        EXPECT_TRUE(*set != *MakeModifiers(other)) << at;
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
