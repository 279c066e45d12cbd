// A key event's binding among 2,000 and 100,000: on all keys of a keyboard, or all on one key.
#include "Kora/DAW/DAW_KeyBindingMap.h"

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

namespace {

using Event = Cmn_RefCountPtr<DAW_KeyEvent>;
using Modifiers = Cmn_AliasedRefCountPtr<DAW_EventModifiers>;

struct Keyboard
{
    // iKeys: how many keys the bindings are spread over.
    explicit Keyboard(const benchmark::State& iState)
        : Keyboard(static_cast<int>(iState.range(0)), static_cast<int>(iState.range(1)))
    {
    }
    Keyboard(int iKeys, int iBindings)
    {
        for (int i = 0; i < iBindings; ++i)
            mMap.AddKeyBinding(DAW_KeyBinding::New(RandomEvent(iKeys), RandomModifiers(3), nullptr));
        for (int i = 0; i < 1024; ++i) {
            mEvents.push_back(RandomEvent(iKeys));
            mModifiers.push_back(RandomModifiers(2));
        }
    }
    Event RandomEvent(int iKeys) { return DAW_KeyEvent::New(static_cast<DAW_EKeyCode>(1 + Random(iKeys))); }
    // Three states: a binding may ask for "either".
    Modifiers RandomModifiers(int iStates)
    {
        const auto state = [&] { return Random(iStates); };
        return DAW_EventModifiers::New(
            static_cast<DAW_EMenuCommandKeyState>(state()), static_cast<DAW_EAlternateKeyState>(state()),
            static_cast<DAW_EMetaKeyState>(state()), static_cast<DAW_EShiftKeyState>(state()),
            static_cast<DAW_ELeftMouseButtonState>(Random(2)));
    }
    int Random(int iCount) { return static_cast<int>(mRandom() % static_cast<unsigned>(iCount)); }

    std::mt19937 mRandom{1};
    DAW_KeyBindingMap mMap;
    std::vector<Event> mEvents;
    std::vector<Modifiers> mModifiers;
};

template <class Find>
void Measure(benchmark::State& ioState, const Keyboard& iKeyboard, Find iFind)
{
    std::size_t at = 0;
    for (auto _ : ioState) {
        benchmark::DoNotOptimize(iFind(iKeyboard.mEvents[at], iKeyboard.mModifiers[at]));
        at = (at + 1) % iKeyboard.mEvents.size();
    }
}

void BM_FindBinding(benchmark::State& ioState)
{
    const Keyboard keyboard(ioState);
    Measure(ioState, keyboard, [&](const Event& iEvent, const Modifiers& iModifiers) {
        return keyboard.mMap.FindMatchingKeyBinding(iEvent, iModifiers);
    });
}
BENCHMARK(BM_FindBinding)->Args({112, 2000})->Args({1, 2000})->Args({1, 100'000});

// No binding matches: a button that none asks for is down.
void BM_FindNoBinding(benchmark::State& ioState)
{
    Keyboard keyboard(ioState);
    for (const Modifiers& modifiers : keyboard.mModifiers)
        modifiers->SetRightMouseButtonState(DAW_eRightMouseButtonState_Down);
    Measure(ioState, keyboard, [&](const Event& iEvent, const Modifiers& iModifiers) {
        return keyboard.mMap.FindMatchingKeyBinding(iEvent, iModifiers);
    });
}
BENCHMARK(BM_FindNoBinding)->Args({112, 2000})->Args({1, 10})->Args({1, 2000})->Args({1, 100'000});

// The same by the map's range of the key, and by looking at all bindings.
void BM_FindBindingByRange(benchmark::State& ioState)
{
    const Keyboard keyboard(ioState);
    Measure(ioState, keyboard, [&](const Event& iEvent, const Modifiers& iModifiers) {
        const auto [first, last] = keyboard.mMap.GetKeyMap().equal_range(iEvent);
        for (auto entry = first; entry != last; ++entry)
            if (entry->second->GetEventModifiers()->Matches(*iModifiers)) return entry->second;
        return Cmn_RefCountPtr<DAW_KeyBinding>();
    });
}
BENCHMARK(BM_FindBindingByRange)->Args({112, 2000})->Args({1, 2000});

void BM_FindBindingByScan(benchmark::State& ioState)
{
    const Keyboard keyboard(ioState);
    Measure(ioState, keyboard, [&](const Event& iEvent, const Modifiers& iModifiers) {
        for (const auto& [event, binding] : keyboard.mMap.GetKeyMap())
            if (event->GetKeyCode() == iEvent->GetKeyCode() &&
                binding->GetEventModifiers()->Matches(*iModifiers))
                return binding;
        return Cmn_RefCountPtr<DAW_KeyBinding>();
    });
}
BENCHMARK(BM_FindBindingByScan)->Args({112, 2000})->Args({1, 2000});

} // namespace
