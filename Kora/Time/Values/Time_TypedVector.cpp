#include "Kora/Time/Values/Time_TypedVector.h"

#include "Bastel/Cmn/Cmn_IntMath.h"
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Kora/Time/Values/Time_Hash_p.h"
#include "Kora/Time/Values/Time_Typed.h"
#include "Kora/Time/Values/Time_TypedLength.h"
#include "Kora/Time/Values/Time_TypedLocal.h"

#include <algorithm>
#include <ostream>

namespace {

constexpr std::size_t cMostShown = 100;

// The names of diagnostics, unlike the localised unit names that users see.
std::string TypeName(Time_EType iType)
{
    switch (iType) {
    case Time_eType_Samples:
        return "Samples";
    case Time_eType_Ticks:
        return "Ticks";
    case Time_eType_Frames:
        return "Frames";
    }
    return std::to_string(iType);
}

std::string ContextName(Time_EContext iContext)
{
    switch (iContext) {
    case Time_eContext_GlobalPosition:
        return "GlobalPosition";
    case Time_eContext_LocalPosition:
        return "LocalPosition";
    case Time_eContext_RelativeLength:
        return "RelativeLength";
    }
    return std::to_string(iContext);
}

} // namespace

Time_TypedVector::Time_TypedVector(Time_EType iType, Time_EContext iContext)
    : mType(iType)
    , mContext(iContext)
{
}

Time_TypedVector::Time_TypedVector(Time_EType iType, Time_EContext iContext, std::vector<Cmn_Int64> iCounts)
    : mType(iType)
    , mContext(iContext)
    , mCounts(std::move(iCounts))
{
}

bool Time_TypedVector::CheckIndex(std::size_t iIndex) const { return Cmn_ASSERT(iIndex < size()); }

void Time_TypedVector::CheckUnit(Time_EType iType) const
{
    Cmn_ASSERT_AS(iType == mType, "time_type_mismatch", "time/Time_Vectors");
}

void Time_TypedVector::CheckContext(Time_EContext iContext) const
{
    switch (iContext) {
    case Time_eContext_GlobalPosition:
        Cmn_ASSERT(mContext == Time_eContext_GlobalPosition);
        break;
    case Time_eContext_LocalPosition:
        Cmn_ASSERT(mContext == Time_eContext_LocalPosition);
        break;
    case Time_eContext_RelativeLength:
        Cmn_ASSERT(mContext == Time_eContext_RelativeLength);
        break;
    }
}

Time_Typed Time_TypedVector::GetTime(std::size_t iIndex) const
{
    if (!CheckIndex(iIndex)) return Time_Typed(0, mType);
    CheckContext(Time_eContext_GlobalPosition);
    return Time_Typed(mCounts[iIndex], mType);
}

Time_TypedLocal Time_TypedVector::GetLocal(std::size_t iIndex) const
{
    if (!CheckIndex(iIndex)) return Time_TypedLocal(0, mType);
    CheckContext(Time_eContext_LocalPosition);
    return Time_TypedLocal(mCounts[iIndex], mType);
}

Time_TypedLength Time_TypedVector::GetLength(std::size_t iIndex) const
{
    if (!CheckIndex(iIndex)) return Time_TypedLength(0, mType);
    CheckContext(Time_eContext_RelativeLength);
    return Time_TypedLength(mCounts[iIndex], mType);
}

void Time_TypedVector::SetTime(std::size_t iIndex, const Time_Typed& iTime)
{
    if (!CheckIndex(iIndex)) return;
    CheckContext(Time_eContext_GlobalPosition);
    CheckUnit(iTime.GetType());
    mCounts[iIndex] = iTime.AsInt64();
}

void Time_TypedVector::SetLocal(std::size_t iIndex, const Time_TypedLocal& iTime)
{
    if (!CheckIndex(iIndex)) return;
    CheckContext(Time_eContext_LocalPosition);
    CheckUnit(iTime.GetType());
    mCounts[iIndex] = iTime.AsInt64();
}

void Time_TypedVector::SetLength(std::size_t iIndex, const Time_TypedLength& iLength)
{
    if (!CheckIndex(iIndex)) return;
    CheckContext(Time_eContext_RelativeLength);
    CheckUnit(iLength.GetType());
    mCounts[iIndex] = iLength.AsInt64();
}

void Time_TypedVector::PushTime(const Time_Typed& iTime)
{
    mCounts.push_back(0);
    SetTime(size() - 1, iTime);
}

void Time_TypedVector::PushLocal(const Time_TypedLocal& iTime)
{
    mCounts.push_back(0);
    SetLocal(size() - 1, iTime);
}

void Time_TypedVector::PushLength(const Time_TypedLength& iLength)
{
    mCounts.push_back(0);
    SetLength(size() - 1, iLength);
}

void Time_TypedVector::Offset(Cmn_Int64 iCount)
{
    for (Cmn_Int64& count : mCounts)
        count = Cmn_WrapAdd(count, iCount);
}

void Time_TypedVector::AddLength(const Time_TypedLength& iLength)
{
    CheckUnit(iLength.GetType());
    Offset(iLength.AsInt64());
}

void Time_TypedVector::SubtractLength(const Time_TypedLength& iLength)
{
    CheckUnit(iLength.GetType());
    Offset(Cmn_WrapNeg(iLength.AsInt64()));
}

void Time_TypedVector::AddTime(const Time_Typed& iTime)
{
    CheckContext(Time_eContext_RelativeLength);
    CheckUnit(iTime.GetType());
    Offset(iTime.AsInt64());
    mContext = Time_eContext_GlobalPosition;
}

void Time_TypedVector::SubtractTime(const Time_Typed& iTime)
{
    CheckContext(Time_eContext_GlobalPosition);
    CheckUnit(iTime.GetType());
    Offset(Cmn_WrapNeg(iTime.AsInt64()));
    mContext = Time_eContext_RelativeLength;
}

Cmn_XMLNode Time_TypedVector::GetAsXML(const std::string& iName) const
{
    Cmn_XMLNode node(iName);
    node.AddAttribute("unit", TypeName(mType));
    node.AddAttribute("context", ContextName(mContext));
    for (const Cmn_Int64 count : mCounts)
        node.AddValue("Time", count);
    return node;
}

std::string Time_TypedVector::Dump() const
{
    std::string text =
        std::to_string(size()) + " times, " + TypeName(mType) + ", " + ContextName(mContext) + "\n";
    for (std::size_t i = 0; i < std::min(size(), cMostShown); ++i)
        text += "  [" + std::to_string(i) + "] " + std::to_string(mCounts[i]) + "\n";
    if (size() > cMostShown) text += "  … " + std::to_string(size() - cMostShown) + " more\n";
    return text;
}

std::ostream& operator<<(std::ostream& ioStream, const Time_TypedVector& iTimes)
{
    std::string text = "{";
    for (std::size_t i = 0; i < std::min(iTimes.size(), cMostShown); ++i)
        text += (i > 0 ? ", " : "") + std::to_string(iTimes[i]);
    if (iTimes.size() > cMostShown) text += ", " + std::to_string(iTimes.size() - cMostShown) + " more";
    text += "} " + TypeName(iTimes.GetType());
    if (iTimes.GetContext() == Time_eContext_RelativeLength) text += " long";
    if (iTimes.GetContext() == Time_eContext_LocalPosition) text += " (local)";
    return ioStream << text;
}

std::size_t std::hash<Time_TypedVector>::operator()(const Time_TypedVector& iTimes) const noexcept
{
    Time_Hash hash;
    hash.Add(iTimes.GetType());
    hash.Add(iTimes.GetContext());
    for (const Cmn_Int64 count : iTimes)
        hash.Add(count);
    return hash.Get();
}
