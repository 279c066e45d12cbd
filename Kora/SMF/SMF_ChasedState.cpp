#include "Kora/SMF/SMF_ChasedState_p.h"

#include <algorithm>
#include <string_view>
#include <tuple>

namespace SMF_TimeEditDetail {
namespace {

constexpr int cBank = 0, cBankLow = 32, cData = 6, cDataLow = 38, cReset = 121;

// Of nothing that lasts: steps up and down, and commands to what sounds.
bool IsCommand(int iController)
{
    return iController == 96 || iController == 97 || iController == 120 || iController == 123;
}

// What a meta event says: all of them that are chased are of a fixed length, at the end of their bytes.
std::string_view ContentOf(const Event& iEvent)
{
    const std::size_t length = iEvent.mFirst == SMF_Event::cTempo           ? 3
                               : iEvent.mFirst == SMF_Event::cTimeSignature ? 4
                                                                            : 2;
    return {iEvent.mBytes + iEvent.mSize - length, length};
}

Event Meta(std::string_view iBytes)
{
    Event event;
    event.mBytes = iBytes.data();
    event.mSize = static_cast<Cmn_UInt32>(iBytes.size());
    event.mStatus = SMF_Event::cMeta;
    event.mFirst = static_cast<Cmn_UInt8>(iBytes[2]);
    event.mDeltaSize = 1;
    return event;
}

} // namespace

Event Event::Channel(int iStatus, int iFirst, int iSecond)
{
    Event event;
    event.mStatus = static_cast<Cmn_UInt8>(iStatus);
    event.mFirst = static_cast<Cmn_UInt8>(iFirst);
    event.mSecond = static_cast<Cmn_UInt8>(iSecond);
    return event;
}

// What players begin with; an event of status 0 where nothing is agreed on.
Event ChasedState::Default(int iSlot)
{
    if (iSlot == cTempo) return Meta({"\0\xFF\x51\x03\x07\xA1\x20", 7}); // 120 quarters a minute
    if (iSlot == cMeter) return Meta({"\0\xFF\x58\x04\x04\x02\x18\x08", 8});
    if (iSlot == cKey) return Meta({"\0\xFF\x59\x02\0\0", 6});
    const int channel = iSlot / eSlot_Count, slot = iSlot % eSlot_Count;
    const auto controller = [&](int iNumber, int iValue) {
        return Event::Channel(0xB0 | channel, iNumber, iValue);
    };
    switch (slot) {
    case eSlot_Program:
        return Event::Channel(0xC0 | channel, 0, 0);
    case eSlot_Bend:
        return Event::Channel(0xE0 | channel, 0, 64);
    case eSlot_Pressure:
        return Event::Channel(0xD0 | channel, 0, 0);
    case eSlot_Bank:
        return controller(cBank, 0);
    case eSlot_BankLow:
        return controller(cBankLow, 0);
    case 7: // volume
        return controller(slot, 100);
    case 10: // pan
        return controller(slot, 64);
    case 11: // expression
        return controller(slot, 127);
    default: // banks, modulation, pedals
        return slot <= 1 || slot == cBankLow || (slot >= 64 && slot <= 69) ? controller(slot, 0) : Event();
    }
}

bool ChasedState::IsSame(const Entry& iA, const Entry& iB, int iSlot)
{
    const Event a = iA.IsSet() ? iA.mEvent : Default(iSlot), b = iB.IsSet() ? iB.mEvent : Default(iSlot);
    if (a.mStatus != b.mStatus) return false;
    if (a.mStatus == SMF_Event::cMeta) return ContentOf(a) == ContentOf(b);
    return a.mFirst == b.mFirst && a.mSecond == b.mSecond;
}

// --- Taking events in

// Of two tracks' events at one tick the later track's holds.
void ChasedState::Set(int iSlot, const Entry& iEntry)
{
    Entry& entry = mEntries[static_cast<std::size_t>(iSlot)];
    if (!entry.IsSet() || iEntry.mEvent.mTick >= entry.mEvent.mTick) entry = iEntry;
}

void ChasedState::Apply(const Event& iEvent, std::size_t iTrack)
{
    const int kind = iEvent.Kind();
    if (kind < 0xB0) return;
    const int base = (iEvent.mStatus & 15) * eSlot_Count;
    const Entry entry{iEvent, iTrack};
    if (kind == 0xB0) {
        ApplyController(iEvent, iTrack);
    } else if (kind == 0xC0) {
        Set(base + eSlot_Program, entry);
        mEntries[static_cast<std::size_t>(base + eSlot_Bank)] =
            mEntries[static_cast<std::size_t>(base + cBank)];
        mEntries[static_cast<std::size_t>(base + eSlot_BankLow)] =
            mEntries[static_cast<std::size_t>(base + cBankLow)];
    } else if (kind == 0xD0 || kind == 0xE0) {
        Set(base + (kind == 0xD0 ? eSlot_Pressure : eSlot_Bend), entry);
    } else if (iEvent.mStatus == SMF_Event::cMeta) {
        if (iEvent.mFirst == SMF_Event::cTempo) Set(cTempo, entry);
        if (iEvent.mFirst == SMF_Event::cTimeSignature) Set(cMeter, entry);
        if (iEvent.mFirst == SMF_Event::cKeySignature) Set(cKey, entry);
    }
}

void ChasedState::ApplyController(const Event& iEvent, std::size_t iTrack)
{
    const int channel = iEvent.mStatus & 15, number = iEvent.mFirst;
    Selection& selection = mSelections[static_cast<std::size_t>(channel)];
    if (number >= 98 && number <= 101) {
        if ((number & ~1) != selection.mFirst) selection = Selection();
        selection.mFirst = number & ~1;
        (number % 2 == 0 ? selection.mLow : selection.mHigh) = iEvent.mSecond;
        selection.mTrack = iTrack;
        selection.mOrder = iEvent.mOrder;
    } else if (number == cData || number == cDataLow) {
        const Cmn_Int64 parameter =
            ((channel * 2 + (selection.mFirst == 98 ? 1 : 0)) * 256 + selection.mHigh + 1) * 256 +
            selection.mLow + 1;
        mParameters[parameter * 2 + (number == cData ? 0 : 1)] = {{iEvent, iTrack}, selection};
    } else if (number == cReset) {
        Reset(iEvent, iTrack);
    } else if (!IsCommand(number)) {
        Set(channel * eSlot_Count + number, {iEvent, iTrack});
    }
}

// "Reset all controllers": what it sets is as if it had been told one by one.
void ChasedState::Reset(const Event& iEvent, std::size_t iTrack)
{
    const int base = (iEvent.mStatus & 15) * eSlot_Count;
    for (const int slot : {1, 11, 64, 65, 66, 67, 68, 69, int{eSlot_Bend}, int{eSlot_Pressure}}) {
        Entry entry{Default(base + slot), iTrack};
        entry.mEvent.mTick = iEvent.mTick;
        entry.mEvent.mOrder = iEvent.mOrder;
        Set(base + slot, entry);
    }
    constexpr int cNoParameter = 127;
    mSelections[iEvent.mStatus & 15u] = {100, cNoParameter, cNoParameter, iTrack, iEvent.mOrder};
}

// --- What is missing

bool ChasedState::IsProgramSame(const ChasedState& iOther, int iChannel) const
{
    for (int slot = iChannel * eSlot_Count + eSlot_Bank; slot <= iChannel * eSlot_Count + eSlot_Program;
         ++slot)
        if (!IsSame(mEntries[static_cast<std::size_t>(slot)], iOther.mEntries[static_cast<std::size_t>(slot)],
                    slot))
            return false;
    return true;
}

void ChasedState::AddSlots(std::vector<Step>& ioSteps, const ChasedState& iWanted,
                           const ChasedState& iAnew) const
{
    for (int i = 0; i < cSlots; ++i) {
        const Entry &now = mEntries[static_cast<std::size_t>(i)],
                    &wanted = iWanted.mEntries[static_cast<std::size_t>(i)];
        if ((!now.IsSet() && !wanted.IsSet()) || iAnew.mEntries[static_cast<std::size_t>(i)].IsSet())
            continue;
        const int channel = i / eSlot_Count, slot = i % eSlot_Count;
        const int program = channel * eSlot_Count + eSlot_Program;
        const bool isOfProgram = slot >= eSlot_Bank && slot <= eSlot_Program,
                   isBank = slot == cBank || slot == cBankLow;
        bool isSame = IsSame(now, wanted, i);
        if (i < cTempo && (isOfProgram || isBank)) {
            const bool isProgramAnew = iAnew.mEntries[static_cast<std::size_t>(program)].IsSet();
            if (isOfProgram && isProgramAnew) continue;
            // A program is told again with its bank, which then is the one selected.
            const bool isProgramSame = isProgramAnew || IsProgramSame(iWanted, channel);
            isSame = isOfProgram ? isProgramSame : isSame && isProgramSame;
        }
        if (isSame) continue;
        const Entry entry = wanted.IsSet() ? wanted : Entry{Default(i), now.mTrack};
        if (entry.IsSet()) ioSteps.push_back({{entry.mTrack, entry.mEvent}, nullptr});
    }
}

void ChasedState::AddParameters(std::vector<Step>& ioSteps, const ChasedState& iWanted,
                                const ChasedState& iAnew) const
{
    for (const auto& [key, wanted] : iWanted.mParameters) {
        const auto now = mParameters.find(key);
        const bool isSame =
            now != mParameters.end() && now->second.mData.mEvent.mSecond == wanted.mData.mEvent.mSecond;
        if (isSame || iAnew.mParameters.count(key) != 0) continue;
        ioSteps.push_back({{wanted.mData.mTrack, wanted.mData.mEvent}, &wanted.mSelection});
    }
}

std::vector<Placed> ChasedState::StepsTo(const ChasedState& iWanted, const ChasedState& iAnew) const
{
    std::vector<Step> steps;
    AddSlots(steps, iWanted, iAnew);
    AddParameters(steps, iWanted, iAnew);
    std::stable_sort(steps.begin(), steps.end(), [](const Step& iA, const Step& iB) {
        return std::tuple(iA.mPlaced.mTrack, iA.mPlaced.mEvent.mOrder) <
               std::tuple(iB.mPlaced.mTrack, iB.mPlaced.mEvent.mOrder);
    });
    std::vector<Placed> placed;
    std::array<Selection, 16> selections = mSelections;
    const auto select = [&](std::size_t iChannel, const Selection& iSelection, std::size_t iTrack,
                            Cmn_UInt32 iOrder) {
        if (selections[iChannel] == iSelection || iSelection.IsNone()) return;
        for (const auto& [number, value] : {std::pair(iSelection.mFirst + 1, iSelection.mHigh),
                                            std::pair(iSelection.mFirst, iSelection.mLow)})
        {
            if (value < 0) continue;
            placed.push_back({iTrack, Event::Channel(0xB0 | static_cast<int>(iChannel), number, value)});
            placed.back().mEvent.mOrder = iOrder;
        }
        selections[iChannel] = iSelection;
    };
    const auto isSameEvent = [](const Placed& iA, const Placed& iB) {
        return iA.mTrack == iB.mTrack && iA.mEvent.mBytes != nullptr && iA.mEvent.mBytes == iB.mEvent.mBytes;
    };
    for (const Step& step : steps) {
        const Event& event = step.mPlaced.mEvent;
        if (step.mSelection != nullptr)
            select(event.mStatus & 15u, *step.mSelection, step.mPlaced.mTrack, event.mOrder);
        // A bank that is selected still stands there as its program's too.
        if (placed.empty() || !isSameEvent(placed.back(), step.mPlaced)) placed.push_back(step.mPlaced);
    }
    for (std::size_t channel = 0; channel < selections.size(); ++channel) {
        const Selection& wanted = iWanted.mSelections[channel];
        if (iAnew.mSelections[channel].IsNone()) select(channel, wanted, wanted.mTrack, wanted.mOrder);
    }
    std::stable_sort(placed.begin(), placed.end(),
                     [](const Placed& iA, const Placed& iB) { return iA.mTrack < iB.mTrack; });
    return placed;
}

} // namespace SMF_TimeEditDetail
