#include "Kora/DAW/DAW_Command.h"
#include "Kora/DAW/DAW_CommandOptionRegistry.h"
#include "Kora/DAW/DAW_CommandRegistry.h"
#include "Kora/DAW/DAW_EventModifiers.h"
#include "Kora/DAW/DAW_KeyContextRegistry.h"
#include "Kora/DAW/DAW_KeyboardInputContext.h"
#include "Kora/DAW/DAW_KeyboardState.h"
#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using Strings = std::vector<std::string>;

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
    std::map<long, DAW_Command*> model;
    Command::sDeleted = 0;
    int deleted = 0;
    Registry::SetRegistrationNotificationCallback(&Command::Note);
    for (int step = 0; step < 5000; ++step) {
        const long id = static_cast<long>(random() % 16) - 4;
        const auto found = model.find(id);
        switch (random() % 4) {
        case 0:
        case 1: {
            auto* const command = new Command(std::string(1, static_cast<char>('a' + random() % 6)),
                                              static_cast<Cmn_Int32>(id), 7);
            if (found != model.end()) ++deleted;
            model[id] = command;
            Registry::RegisterCommand(command);
            ASSERT_EQ(Command::sNotified, std::vector<DAW_Command*>({command}));
            Command::sNotified.clear();
            break;
        }
        case 2: // by number; the caller deletes
            Registry::RemoveRegisteredCommand(id);
            if (found == model.end()) break;
            delete found->second;
            ++deleted;
            model.erase(found);
            break;
        case 3: {
            Command stranger("a", static_cast<Cmn_Int32>(id), 0);
            Registry::RemoveRegisteredCommand(&stranger);
            ++deleted;
            if (found == model.end()) break;
            Registry::RegisterCommand(found->second); // once more
            Command::sNotified.clear();
            Registry::RemoveRegisteredCommand(found->second);
            ++deleted;
            delete found->second;
            model.erase(found);
            break;
        }
        }
        ASSERT_EQ(Command::sDeleted, deleted);
        ASSERT_TRUE(std::equal(model.begin(), model.end(), Registry::GetCommandMap().begin(),
                               Registry::GetCommandMap().end(),
                               [](auto& iLeft, auto& iRight) { return iLeft.second == iRight.second; }));
        for (const char* name : {"a", "c", "f", "ff", ""}) {
            DAW_Command* lowest = nullptr;
            for (auto entry = model.rbegin(); entry != model.rend(); ++entry)
                if (entry->second->GetName() == name) lowest = entry->second;
            ASSERT_EQ(Registry::FindCommandByName(name), lowest);
        }
        ASSERT_EQ(Registry::FindCommandByID(id), model.contains(id) ? model[id] : nullptr);
    }
    Registry::SetRegistrationNotificationCallback(nullptr);
    for (const auto& [id, command] : model) {
        Registry::RemoveRegisteredCommand(command);
        delete command;
    }
}

TEST(CommandRegistry, NumbersThatDoNotFitFindNothing)
{
    if (sizeof(long) == 4) GTEST_SKIP() << "every long fits";
    Command command("x", 10, 5);
    DAW_CommandRegistry::RegisterCommand(&command);
    const long wide = 10 + static_cast<long>(0x100000000);
    EXPECT_EQ(DAW_CommandRegistry::FindCommandByID(wide), nullptr);
    DAW_CommandRegistry::RemoveRegisteredCommand(wide);
    EXPECT_EQ(DAW_CommandRegistry::FindCommandByID(10), &command);
    DAW_CommandRegistry::RemoveRegisteredCommand(10L);
    DAW_CommandOptionRegistry::RegisterCommandOption(
        DAW_CommandOption::New(10, "o", DAW_eModifierKind_Meta, true));
    EXPECT_FALSE(DAW_CommandOptionRegistry::FindByOwnerCommandIDAndName(wide, "o"));
}

TEST(KeyContextRegistry, ANewerContextTakesTheNumberAndDyingOnesLeave)
{
    using Registry = DAW_KeyContextRegistry;
    Context::sDeleted = 0;
    Registry::SetRegistrationNotificationCallback(&Context::Note);
    auto* const first = new Context(10, "Edit");
    Registry::RegisterKeyContext(first);
    DAW_KeyboardInputContext::SetCurrentKeyboardInputContext(first);
    {
        Context low(-3, "Mix"), same(10, "Mix");
        Registry::RegisterKeyContext(&same);
        EXPECT_EQ(Context::sDeleted, 1);
        EXPECT_EQ(DAW_KeyboardInputContext::GetCurrentKeyboardInputContext(), nullptr);
        EXPECT_EQ(Registry::FindKeyContextByName("Mix"), &same);
        Registry::RegisterKeyContext(&low);
        Registry::RegisterKeyContext(&low);
        EXPECT_EQ(Registry::FindKeyContextByName("Mix"), &low);
        EXPECT_EQ(Registry::FindKeyContextByName("mix"), nullptr);
        EXPECT_EQ(Registry::FindKeyContextByID(10), &same);
        EXPECT_EQ(Registry::FindKeyContextByID(11), nullptr);
        EXPECT_EQ(Context::sNotified, (std::vector<DAW_KeyboardInputContext*>{first, &same, &low, &low}));
        const Context unregistered(10, "Mix");
    }
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
            for (const DAW_EKeyCode key : {DAW_eKeyCode_Q, DAW_eKeyCode_W})
                for (int states = 0; states < 81; ++states) {
                    const int state[] = {states % 3, states / 3 % 3, states / 9 % 3, states / 27};
                    const auto modifiers = DAW_EventModifiers::New(
                        static_cast<DAW_EMenuCommandKeyState>(state[0]),
                        static_cast<DAW_EAlternateKeyState>(state[1]),
                        static_cast<DAW_EMetaKeyState>(state[2]), static_cast<DAW_EShiftKeyState>(state[3]));
                    const auto option =
                        DAW_CommandOption::New(1, "o", static_cast<DAW_EModifierKind>(kind), byDefault, key);
                    const bool isKnown = kind >= 0 && kind <= 4;
                    const bool isDown = isKnown && (kind == 0 ? key == DAW_eKeyCode_Q : state[kind - 1] == 1);
                    EXPECT_EQ(option->GetOptionState(modifiers, keyboard), isDown ? !byDefault : byDefault)
                        << kind << byDefault << states;
                    EXPECT_EQ(asserts.Take(), isKnown ? Strings() : Strings({"0@$^$@DAW/DAW_CommandOption"}));
                    EXPECT_EQ(isKnown ? option->GetOptionState(nullptr, nullptr) : byDefault, byDefault);
                    EXPECT_EQ(asserts.Take().size(), isKnown ? 1u : 0u);
                }
}

TEST(CommandOptionRegistry, TheFirstOfAKeyIsKeptAndOthersAreLetGo)
{
    using Registry = DAW_CommandOptionRegistry;
    const auto make = [](int iID, const char* iName) {
        return DAW_CommandOption::New(iID, iName, DAW_eModifierKind_Shift, true);
    };
    const auto first = make(77, "snap"), second = make(77, "snap"), named = make(77, "grid"),
               other = make(78, "snap");
    EXPECT_EQ(first->GetRefCount(), 1);
    for (const auto& option : {second, first, named, other})
        Registry::RegisterCommandOption(option);
    EXPECT_EQ(Registry::FindByOwnerCommandIDAndName(77, "snap"), second);
    EXPECT_EQ(Registry::FindByOwnerCommandIDAndName(77, "grid"), named);
    EXPECT_EQ(Registry::FindByOwnerCommandIDAndName(78, "snap"), other);
    EXPECT_FALSE(Registry::FindByOwnerCommandIDAndName(78, "grid"));
    EXPECT_FALSE(Registry::FindByOwnerCommandIDAndName(77, "Snap"));
    EXPECT_EQ(first->GetRefCount(), 1);
    EXPECT_EQ(second->GetRefCount(), 2);
}

} // namespace
