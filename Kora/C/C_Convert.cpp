// Conversions of one position and of columns of them.
#include "Kora/C/C_Song_p.h"
#include "Kora/C/C_Time_p.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <vector>

namespace {

// Elements that are converted at once: a block stays in the processor's cache.
constexpr std::size_t cBlock = 1024;
// Between the elements of a column of nothing else.
constexpr std::ptrdiff_t cDense = sizeof(int64_t);

kora_bar_position BarsOf(const Time_BarBeatTick& iBars)
{
    return {iBars.mBar, iBars.mBeat, iBars.mTick.AsInt64()};
}

// How many bits a count of the unit has behind its sign: the library's own limits, and as much before 0. Beyond, what
// is computed of it would no longer fit.
constexpr int BitsOf(Time_EType iType) { return iType == Time_eType_Samples ? 35 : 59; }

// 0 for a count inside; of many, the bits of all joined.
constexpr std::uint64_t Outside(std::int64_t iCount, int iBits)
{
    return (static_cast<std::uint64_t>(iCount) + (std::uint64_t{1} << iBits)) >> (iBits + 1);
}

void RequireInside(std::uint64_t iOutside)
{
    C_Require(iOutside == 0, "a time is outside of the limits of its unit");
}

Time_BarBeatTick BarsOf(const kora_bar_position& iBars)
{
    RequireInside(Outside(iBars.ticks, BitsOf(Time_eType_Ticks)));
    return {iBars.bar, iBars.beat, Time_TickLength(iBars.ticks)};
}

// A column of the caller's: unaligned elements, a stride apart.
template <class T>
class Column
{
public:
    Column(const void* iFirst, std::ptrdiff_t iStride)
        : mFirst(static_cast<const char*>(iFirst))
        , mStride(iStride)
    {
    }
    T Get(std::size_t iIndex) const
    {
        T value;
        std::memcpy(&value, At(iIndex), sizeof value);
        return value;
    }

protected:
    const char* At(std::size_t iIndex) const
    {
        return mFirst + static_cast<std::ptrdiff_t>(iIndex) * mStride;
    }

private:
    const char* mFirst;
    std::ptrdiff_t mStride;
};

template <class T>
class OutColumn : Column<T>
{
public:
    OutColumn(void* oFirst, std::ptrdiff_t iStride)
        : Column<T>(oFirst, iStride)
    {
    }
    void Set(std::size_t iIndex, const T& iValue) const
    {
        std::memcpy(const_cast<char*>(Column<T>::At(iIndex)), &iValue, sizeof iValue);
    }
};

template <class T>
void CheckColumns(const void* iIn, void* oOut, std::ptrdiff_t iOutStride)
{
    C_Out(static_cast<const char*>(iIn), "in");
    C_Out(static_cast<char*>(oOut), "out");
    constexpr auto cSize = static_cast<std::ptrdiff_t>(sizeof(T));
    C_Require(iOutStride <= -cSize || iOutStride >= cSize, "out_stride is less than an element");
}

// From the lowest byte of a column to behind the highest.
struct Extent
{
    Extent(const void* iFirst, std::ptrdiff_t iStride, std::size_t iCount, std::size_t iSize)
    {
        const auto first = reinterpret_cast<std::uintptr_t>(iFirst);
        const auto last = first + static_cast<std::uintptr_t>(iStride) * (iCount - 1);
        mBegin = iStride < 0 ? last : first;
        mEnd = (iStride < 0 ? first : last) + iSize;
    }
    std::uintptr_t mBegin, mEnd;
};

// Whether a result may overwrite an element that is still to be read. It does not where the results take their
// elements' places, nor where both stand side by side in the same records.
template <class In, class Out>
bool IsInTheWay(const void* iIn, std::ptrdiff_t iInStride, const void* iOut, std::ptrdiff_t iOutStride,
                std::size_t iCount)
{
    const Extent in(iIn, iInStride, iCount, sizeof(In)), out(iOut, iOutStride, iCount, sizeof(Out));
    if (in.mEnd <= out.mBegin || out.mEnd <= in.mBegin) return false;
    if (iInStride != iOutStride) return true;
    if (iIn == iOut) return false;
    const auto record = static_cast<std::uintptr_t>(iOutStride < 0 ? -iOutStride : iOutStride);
    const std::uintptr_t higher = (std::max)(in.mBegin, out.mBegin),
                         lower = (std::min)(in.mBegin, out.mBegin);
    const std::uintptr_t apart = (higher - lower) % record;
    const bool isInHigher = in.mBegin > out.mBegin;
    return apart < (isInHigher ? sizeof(Out) : sizeof(In)) ||
           apart + (isInHigher ? sizeof(In) : sizeof(Out)) > record;
}

// Calls iConvert with the elements, which are copied where results are in their way.
template <class In, class Out, class Convert>
void WithInput(const void* iIn, std::ptrdiff_t iInStride, const void* iOut, std::ptrdiff_t iOutStride,
               std::size_t iCount, const Convert& iConvert)
{
    const Column<In> source(iIn, iInStride);
    if (!IsInTheWay<In, Out>(iIn, iInStride, iOut, iOutStride, iCount)) return iConvert(source);
    std::vector<In> copy(iCount);
    for (std::size_t i = 0; i < iCount; ++i)
        copy[i] = source.Get(i);
    iConvert(Column<In>(copy.data(), sizeof(In)));
}

// A distance that is known when this is compiled lets many be looked at together.
void CheckLimits(const void* iIn, std::ptrdiff_t iStride, size_t iCount, Time_EType iType)
{
    const int bits = BitsOf(iType);
    const auto outside = [&](std::ptrdiff_t iApart) {
        const Column<int64_t> times(iIn, iApart);
        std::uint64_t all = 0;
        for (size_t i = 0; i < iCount; ++i)
            all |= Outside(times.Get(i), bits);
        return all;
    };
    RequireInside(iStride == cDense ? outside(cDense) : outside(iStride));
}

bool IsDense(const void* iFirst, std::ptrdiff_t iStride)
{
    return iStride == cDense && reinterpret_cast<std::uintptr_t>(iFirst) % alignof(int64_t) == 0;
}

// Results that stand as the library has them are made where they stand.
void ConvertDense(const Time_Converter& iConverter, Time_EType iFrom, const int64_t* iIn, Time_EType iTo,
                  int64_t* oOut, size_t iCount)
{
    const std::less<const int64_t*> before;
    const bool overlap = before(iIn, oOut + iCount) && before(oOut, iIn + iCount);
    const size_t size = overlap ? iCount : (std::min)(iCount, cBlock); // what overlaps is moved before
    for (size_t first = 0; first < iCount; first += size) {
        const size_t count = (std::min)(iCount - first, size);
        CheckLimits(iIn + first, cDense, count, iFrom);
        if (iIn != oOut) std::memmove(oOut + first, iIn + first, count * sizeof *oOut);
        iConverter.ToType(oOut + first, count, iFrom, iTo);
    }
}

// Blocks of any other columns go through memory of their own.
void ConvertByBlocks(const Time_Converter& iConverter, Time_EType iFrom, const Column<int64_t>& iIn,
                     Time_EType iTo, const OutColumn<int64_t>& iOut, size_t iCount)
{
    std::array<int64_t, cBlock> block;
    for (size_t first = 0; first < iCount; first += cBlock) {
        const size_t count = (std::min)(iCount - first, cBlock);
        for (size_t i = 0; i < count; ++i)
            block[i] = iIn.Get(first + i);
        iConverter.ToType(block.data(), count, iFrom, iTo);
        for (size_t i = 0; i < count; ++i)
            iOut.Set(first + i, block[i]);
    }
}

} // namespace

Time_EType C_Unit(std::uint32_t iUnit)
{
    C_Require(iUnit <= KORA_FRAMES, "no such unit");
    return static_cast<Time_EType>(iUnit);
}

Time_Typed C_TimeOf(const kora_time& iTime)
{
    const Time_EType type = C_Unit(iTime.unit);
    RequireInside(Outside(iTime.count, BitsOf(type)));
    return {iTime.count, type};
}

kora_time C_TimeOf(const Time_Typed& iTime) { return {iTime.AsInt64(), iTime.GetType(), 0}; }

kora_status kora_convert(kora_song* song, kora_time time, uint32_t unit, kora_time* out)
{
    return C_Guard([&] {
        const Time_Converter& converter = C_Get(song, "song").Get().GetConverter();
        kora_time& result = C_Out(out, "out");
        result = C_TimeOf(converter.ToType(C_TimeOf(time), C_Unit(unit)));
    });
}

kora_status kora_to_bars(kora_song* song, kora_time time, kora_bar_position* out)
{
    return C_Guard([&] {
        const Time_Converter& converter = C_Get(song, "song").Get().GetConverter();
        kora_bar_position& result = C_Out(out, "out");
        result = BarsOf(converter.ToBarBeatTick(C_TimeOf(time)));
    });
}

kora_status kora_from_bars(kora_song* song, kora_bar_position position, uint32_t unit, kora_time* out)
{
    return C_Guard([&] {
        const Time_Converter& converter = C_Get(song, "song").Get().GetConverter();
        kora_time& result = C_Out(out, "out");
        result = C_TimeOf(converter.ToType(BarsOf(position), C_Unit(unit)));
    });
}

kora_status kora_convert_all(kora_song* song, uint32_t from_unit, const void* in, ptrdiff_t in_stride,
                             uint32_t to_unit, void* out, ptrdiff_t out_stride, size_t count)
{
    return C_Guard([&] {
        const Time_Converter& converter = C_Get(song, "song").Get().GetConverter();
        const Time_EType from = C_Unit(from_unit);
        const Time_EType to = C_Unit(to_unit);
        if (count == 0) return;
        CheckColumns<int64_t>(in, out, out_stride);
        if (IsDense(in, in_stride) && IsDense(out, out_stride))
            return ConvertDense(converter, from, static_cast<const int64_t*>(in), to,
                                static_cast<int64_t*>(out), count);
        CheckLimits(in, in_stride, count, from);
        WithInput<int64_t, int64_t>(
            in, in_stride, out, out_stride, count, [&](const Column<int64_t>& iSource) {
                ConvertByBlocks(converter, from, iSource, to, OutColumn<int64_t>(out, out_stride), count);
            });
    });
}

kora_status kora_to_bars_all(kora_song* song, uint32_t from_unit, const void* in, ptrdiff_t in_stride,
                             void* out, ptrdiff_t out_stride, size_t count)
{
    return C_Guard([&] {
        const Time_Converter& converter = C_Get(song, "song").Get().GetConverter();
        const Time_EType from = C_Unit(from_unit);
        if (count == 0) return;
        CheckColumns<kora_bar_position>(in, out, out_stride);
        const OutColumn<kora_bar_position> target(out, out_stride);
        CheckLimits(in, in_stride, count, from);
        WithInput<int64_t, kora_bar_position>(
            in, in_stride, out, out_stride, count, [&](const Column<int64_t>& iSource) {
                for (size_t i = 0; i < count; ++i)
                    target.Set(i, BarsOf(converter.ToBarBeatTick(Time_Typed(iSource.Get(i), from))));
            });
    });
}

kora_status kora_from_bars_all(kora_song* song, const void* in, ptrdiff_t in_stride, uint32_t to_unit,
                               void* out, ptrdiff_t out_stride, size_t count)
{
    return C_Guard([&] {
        const Time_Converter& converter = C_Get(song, "song").Get().GetConverter();
        const Time_EType to = C_Unit(to_unit);
        if (count == 0) return;
        CheckColumns<int64_t>(in, out, out_stride);
        const Column<kora_bar_position> source(in, in_stride);
        const OutColumn<int64_t> target(out, out_stride);
        for (size_t i = 0; i < count; ++i)
            static_cast<void>(BarsOf(source.Get(i))); // refused before the first is converted
        WithInput<kora_bar_position, int64_t>(
            in, in_stride, out, out_stride, count, [&](const Column<kora_bar_position>& iSource) {
                for (size_t i = 0; i < count; ++i)
                    target.Set(i, converter.ToType(BarsOf(iSource.Get(i)), to).AsInt64());
            });
    });
}
