// Time_TypedVector: many times side by side, 64-bit counts that share one unit and one meaning.
//
// Units:      the counts are in GetType(): samples, internal ticks or frames. GetContext() says what they
//             are: global positions, local positions or lengths.
// Arithmetic: wraps in 64 bits. A time of another unit is reported as "time_type_mismatch"
//             (time/Time_Vectors); the operation then works on the raw counts and the vector's unit stays.
// Threads:    none inside.
// Ownership:  owns its counts, contiguous in memory; whoever has room reserved (reserve)
//             pushes without allocating.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"
#include "Kora/Time/Values/Time_EType.h"

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

class Cmn_XMLNode;
class Time_Typed;
class Time_TypedLength;
class Time_TypedLocal;

class KORA_API Time_TypedVector
{
public:
    using value_type = Cmn_Int64;
    using iterator = Cmn_Int64*;
    using const_iterator = const Cmn_Int64*;

    // Empty.
    explicit Time_TypedVector(Time_EType iType = Time_eType_Samples,
                              Time_EContext iContext = Time_eContext_GlobalPosition);
    // Takes the counts as they are.
    Time_TypedVector(Time_EType iType, Time_EContext iContext, std::vector<Cmn_Int64> iCounts);

    Time_EType GetType() const { return mType; }
    Time_EContext GetContext() const { return mContext; }
    // Rename the unit or the meaning; the counts stay as they are. Time_Converter::ToType converts.
    void SetType(Time_EType iType) { mType = iType; }
    void SetContext(Time_EContext iContext) { mContext = iContext; }

    [[nodiscard]] bool empty() const { return mCounts.empty(); }
    std::size_t size() const { return mCounts.size(); }
    std::size_t capacity() const { return mCounts.capacity(); }
    void reserve(std::size_t iCount) { mCounts.reserve(iCount); }
    // New elements are 0.
    void resize(std::size_t iCount) { mCounts.resize(iCount); }
    // Keeps unit, meaning and capacity.
    void clear() { mCounts.clear(); }

    // The raw counts, unchecked.
    Cmn_Int64* data() { return mCounts.data(); }
    const Cmn_Int64* data() const { return mCounts.data(); }
    iterator begin() { return data(); }
    iterator end() { return data() + size(); }
    const_iterator begin() const { return data(); }
    const_iterator end() const { return data() + size(); }
    Cmn_Int64& operator[](std::size_t iIndex) { return mCounts[iIndex]; }
    Cmn_Int64 operator[](std::size_t iIndex) const { return mCounts[iIndex]; }
    void push_back(Cmn_Int64 iCount) { mCounts.push_back(iCount); }

    // The elements as typed times. An index at or past the end asserts "iIndex < size()"; reading then gives
    // 0 of the vector's unit, writing changes nothing. A time of another meaning than the vector's asserts
    // "mContext == Time_eContext_…", one of another unit "time_type_mismatch"; the raw
    // count is read or stored.
    Time_Typed GetTime(std::size_t iIndex) const;                        // global positions
    Time_TypedLocal GetLocal(std::size_t iIndex) const;                  // local positions
    Time_TypedLength GetLength(std::size_t iIndex) const;                // lengths
    void SetTime(std::size_t iIndex, const Time_Typed& iTime);           // global positions
    void SetLocal(std::size_t iIndex, const Time_TypedLocal& iTime);     // local positions
    void SetLength(std::size_t iIndex, const Time_TypedLength& iLength); // lengths
    void PushTime(const Time_Typed& iTime);                              // global positions
    void PushLocal(const Time_TypedLocal& iTime);                        // local positions
    void PushLength(const Time_TypedLength& iLength);                    // lengths

    // Every element moved by a length of the vector's unit; the meaning stays: a position plus a length is a
    // position, a length plus a length is a length.
    void AddLength(const Time_TypedLength& iLength);
    // As AddLength, the other way.
    void SubtractLength(const Time_TypedLength& iLength);
    // Lengths counted from a time: global positions afterwards. Asserts "mContext ==
    // Time_eContext_RelativeLength".
    void AddTime(const Time_Typed& iTime);
    // Global positions as distances from a time: lengths afterwards. Asserts
    // "mContext == Time_eContext_GlobalPosition".
    void SubtractTime(const Time_Typed& iTime);

    // Unit, meaning and counts, in this order.
    bool operator==(const Time_TypedVector&) const = default;

    // <iName unit="Ticks" context="GlobalPosition"> <Time>0</Time> <Time>960000</Time> </iName>
    [[nodiscard]] Cmn_XMLNode GetAsXML(const std::string& iName) const;
    // "3 times, Ticks, GlobalPosition" and a line "  [0] 960000" for each of the first 100.
    [[nodiscard]] std::string Dump() const;
    // One line: "{0, 960000} Ticks", of lengths "{0, 960000} Ticks long", of local positions "{0, 960000} Ticks
    // (local)". Behind the first 100 it says how many there are: "100, 5 more} Ticks".
    KORA_API friend std::ostream& operator<<(std::ostream& ioStream, const Time_TypedVector& iTimes);

private:
    bool CheckIndex(std::size_t iIndex) const;
    void CheckUnit(Time_EType iType) const;
    void CheckContext(Time_EContext iContext) const;
    void Offset(Cmn_Int64 iCount);

    Time_EType mType;
    Time_EContext mContext;
    std::vector<Cmn_Int64> mCounts;
};

template <>
struct std::hash<Time_TypedVector>
{
    KORA_API std::size_t operator()(const Time_TypedVector& iTimes) const noexcept;
};
