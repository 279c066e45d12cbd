#include "DAW/KeyModifiers.h"
#include "Kora/DAW/DAW_Command.h"
#include "Kora/DAW/DAW_CommandOptionRegistry.h"
#include "Kora/DAW/DAW_CommandRegistry.h"
#include "Kora/DAW/DAW_KeyContextRegistry.h"
#include "Kora/DAW/DAW_KeyboardInputContext.h"
#include "Kora/DAW/DAW_KeyboardState.h"
#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using Strings = std::vector<std::string>;
constexpr long cWide = static_cast<long>(Cmn_Int64(1) << 32); // 0 where a long has no more than 32 bits

// Something that a registry keeps, counted.
template <class Base>
class Counted : public Base
{
public:
    using Base::Base;
    ~Counted() override { ++sDeleted; }
    static inline int sDeleted = 0;
    static inline std::vector<Base*> sNotified;
    static void Note(Base* iObject) { sNotified.push_back(iObject); }
};
using Command = Counted<DAW_Command>;
using Context = Counted<DAW_KeyboardInputContext>;

TEST(CommandRegistry, RandomRegistrationsBehaveAsAMap)
{
    using Registry = DAW_CommandRegistry;
    std::mt19937 random(20261125);
    std::array<DAW_Command*, 16> model{}; // numbers -4 to 11
    int deleted = Command::sDeleted;
    Registry::SetRegistrationNotificationCallback(&Command::Note);
    for (int step = 0; step < 5000; ++step) {
        const std::size_t at = random() % model.size();
        const Cmn_Int32 id = static_cast<Cmn_Int32>(at) - 4;
        DAW_Command*& current = model[at];
        const auto action = random() % 5;
        if (action < 3) { // a newer one, or the same again
            DAW_Command* command = current;
            if (action > 0 || current == nullptr)
                command = new Command(std::string(1, "abc"[random() % 3]), id, 7);
            deleted += current != nullptr && current != command;
            Registry::RegisterCommand(current = command);
            ASSERT_EQ(std::exchange(Command::sNotified, {}), std::vector{command});
        } else {
            Command stranger("a", id, 0);
            Registry::RemoveRegisteredCommand(&stranger);
            ASSERT_EQ(Registry::FindCommandByID(id), current);
            if (action == 3 || current == nullptr)
                Registry::RemoveRegisteredCommand(id);
            else
                Registry::RemoveRegisteredCommand(current);
            deleted += 1 + (current != nullptr); // the stranger dies too
            delete std::exchange(current, nullptr);
        }
        ASSERT_EQ(Command::sDeleted, deleted);
        ASSERT_EQ(Registry::FindCommandByID(id + cWide), cWide == 0 ? current : nullptr);
        Registry::CommandMap expected;
        for (std::size_t i = 0; i < model.size(); ++i)
            if (model[i] != nullptr) expected[static_cast<Cmn_Int32>(i) - 4] = model[i];
        ASSERT_EQ(Registry::GetCommandMap(), expected);
        for (const char* name : {"a", "c", "cc", ""}) {
            const auto lowest = std::find_if(expected.begin(), expected.end(),
                                             [&](auto& iEntry) { return iEntry.second->GetName() == name; });
            ASSERT_EQ(Registry::FindCommandByName(name), lowest != expected.end() ? lowest->second : nullptr);
        }
    }
    Registry::SetRegistrationNotificationCallback(nullptr);
    for (std::size_t i = 0; i < model.size(); ++i) {
        Registry::RemoveRegisteredCommand(static_cast<long>(i) - 4);
        delete model[i];
    }
}

TEST(KeyContextRegistry, ANewerContextTakesTheNumberAndDyingOnesLeave)
{
    using Registry = DAW_KeyContextRegistry;
    Context::sDeleted = 0;
    Context::sNotified.clear();
    Registry::SetRegistrationNotificationCallback(&Context::Note);
    auto* const first = new Context(10, "Edit");
    Registry::RegisterKeyContext(first);
    DAW_KeyboardInputContext::SetCurrentKeyboardInputContext(first);
    auto *const low = new Context(-3, "Mix"), *const same = new Context(10, "Mix");
    Registry::RegisterKeyContext(same);
    EXPECT_EQ(Context::sDeleted, 1);
    EXPECT_EQ(DAW_KeyboardInputContext::GetCurrentKeyboardInputContext(), nullptr);
    EXPECT_EQ(Registry::FindKeyContextByName("Mix"), same);
    Registry::RegisterKeyContext(low);
    Registry::RegisterKeyContext(low);
    EXPECT_EQ(Registry::FindKeyContextByName("Mix"), low);
    EXPECT_EQ(Registry::FindKeyContextByID(10), same);
    EXPECT_EQ(Context::sNotified, (std::vector<DAW_KeyboardInputContext*>{first, same, low, low}));
    delete low;
    delete same;
    EXPECT_TRUE(Registry::GetKeyContextMap().empty());
    Registry::SetRegistrationNotificationCallback(nullptr);
}

TEST(CommandOption, EveryKindTurnsItsDefaultRoundWhenItsKeyIsDown)
{
    DAW_KeyStateArray keys;
    keys.SetBit(DAW_eKeyCode_Q, true);
    const auto keyboard = DAW_KeyboardState::New(keys, DAW_eKeyStateArrayFormat_ByKeyCode);
    const AssertRecorder asserts;
    for (int kind = -1; kind <= 5; ++kind)
        for (const bool byDefault : {false, true})
            for (int states = 0; states < 81; ++states) {
                const DAW_EKeyCode key = states % 2 == 0 ? DAW_eKeyCode_Q : DAW_eKeyCode_W;
                const int state[] = {states % 3, states / 3 % 3, states / 9 % 3, states / 27};
                const auto modifiers = MakeModifiers({state[0], state[1], state[2], state[3]});
                const auto option = DAW_CommandOption::New(1, "o", AnyState{kind}, byDefault, key);
                const bool isKnown = kind >= 0 && kind <= 4;
                const bool isDown = isKnown && (kind == 0 ? key == DAW_eKeyCode_Q : state[kind - 1] == 1);
                EXPECT_EQ(option->GetOptionState(modifiers, keyboard), isDown != byDefault)
                    << kind << byDefault << states;
                EXPECT_EQ(asserts.Take(), isKnown ? Strings() : Strings({"0@$^$@DAW/DAW_CommandOption"}));
                EXPECT_EQ(isKnown ? option->GetOptionState(nullptr, nullptr) : byDefault, byDefault);
                EXPECT_EQ(asserts.Take().size(), isKnown ? 1u : 0u);
            }
}

TEST(CommandOptionRegistry, TheFirstOfAKeyIsKeptAndOthersAreLetGo)
{
    using Registry = DAW_CommandOptionRegistry;
    static int sID = 75;
    sID += 2; // the registry keeps what it has when the test runs again
    const auto make = [](int iID, const char* iName) {
        return DAW_CommandOption::New(iID, iName, AnyState{4}, true);
    };
    const auto first = make(sID, "snap"), second = make(sID, "snap"), named = make(sID, "grid"),
               other = make(sID + 1, "snap");
    EXPECT_EQ(first->GetRefCount(), 1);
    for (const auto& option : {second, first, named, other})
        Registry::RegisterCommandOption(option);
    EXPECT_EQ(Registry::FindByOwnerCommandIDAndName(sID, "snap"), second);
    EXPECT_EQ(Registry::FindByOwnerCommandIDAndName(sID, "grid"), named);
    EXPECT_FALSE(Registry::FindByOwnerCommandIDAndName(sID + 1, "grid"));
    EXPECT_FALSE(Registry::FindByOwnerCommandIDAndName(sID, "Snap"));
    EXPECT_EQ(Registry::FindByOwnerCommandIDAndName(sID + cWide, "snap"), cWide == 0 ? second : nullptr);
    EXPECT_EQ(first->GetRefCount(), 1);
    EXPECT_EQ(second->GetRefCount(), 2);
}

} // namespace
