// The parts of a table's values as objects. The table keeps their bytes (FF_TOCBytes_p.h)
// and makes these on demand.
#include "Kora/FF/Document/FF_Document_TOCValue.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/I18N/I18N_Utils.h"
#include "Bastel/Sys/Sys_StreamThrow_p.h"
#include "Kora/FF/Document/FF_TOCTexts_p.h"
#include "Kora/FF/Format/FF_TOCGrammar_p.h"

#include <algorithm>
#include <limits>

static_assert(FF_Document::Location::cPlain == FF_Format::cPlainLocation);
static_assert(FF_Document::Location::cLocal == FF_Format::cLocalLocation);
static_assert(FF_Document::Location::cMaxChain == FF_Format::cMaxLocations);
static_assert(FF_Document::LocalLocation::cMaxOffsets == FF_Format::cMaxPieces);
static_assert(FF_Document::DisplayInfo::cString == FF_Format::cStringDescription);
static_assert(FF_Document::StringDisplayInfo::cMaxText == FF_Format::cMaxDescription);

using namespace FF_TOCTexts;

namespace {

constexpr Cmn_Int32 cPartHeader = 3; // type and size
constexpr std::size_t cMaxSize = std::numeric_limits<Cmn_Int16>::max();

// A typed stream as the source of a walk over a value, which makes the parts.
class Maker
{
public:
    explicit Maker(Sys_TypedInStream& ioStream)
        : mStream(ioStream)
    {
    }

    template <class T>
    T Take()
    {
        if constexpr (sizeof(T) == 1) return mStream.ReadUInt8();
        if constexpr (sizeof(T) == 2) return mStream.ReadInt16();
        if constexpr (sizeof(T) == 4) return mStream.ReadUInt32();
    }
    void Require(bool iHolds) const
    {
        if (!iHolds) Sys_ThrowFrom<Sys_StreamReadException>(mStream.GetStream(), mStream.GetPosition());
    }
    Cmn_Int64 GetBytesLeft() const { return mStream.GetBytesLeft(); }

protected:
    std::vector<Cmn_UInt8> TakeBytes(std::size_t iCount)
    {
        std::vector<Cmn_UInt8> bytes(iCount);
        mStream.ReadBytes(bytes.data(), iCount);
        return bytes;
    }
    Sys_TypedInStream& mStream;
};

// The bytes of a placeholder: what a size can tell.
std::vector<Cmn_UInt8> Held(std::vector<Cmn_UInt8> iBytes)
{
    if (!Cmn_ASSERT(iBytes.size() <= cMaxSize)) iBytes.resize(cMaxSize);
    return iBytes;
}

} // namespace

// --- Locations

FF_Document::Location::Location(Cmn_UInt8 iType)
    : mType(iType)
{
}
FF_Document::Location::~Location() = default;
FF_Document::Location::Location(const Location& iOther)
    : mType(iOther.mType)
    , mSizeRead(iOther.mSizeRead)
    , mNext(iOther.mNext ? iOther.mNext->Clone() : nullptr)
{
}

Cmn_Int16 FF_Document::Location::GetSize() const
{
    if (!mNext) return 0;
    if (mSizeRead != 0) return mSizeRead;
    // Readers only ask whether it is 0: the location that follows has a size of its own.
    return static_cast<Cmn_Int16>(std::min<Cmn_Int32>(cPartHeader + mNext->GetSize(), cMaxSize));
}

std::unique_ptr<FF_Document::Location> FF_Document::Location::Clone() const
{
    return std::unique_ptr<Location>(new Location(*this));
}

void FF_Document::Location::SetNext(std::unique_ptr<Location> iNext)
{
    if (!Cmn_ASSERT(mType == cPlain)) return;
    mSizeRead = 0;
    mNext = std::move(iNext);
}

void FF_Document::Location::StreamOut(Sys_TypedOutStream& ioStream) const
{
    int links = 0;
    for (const Location* location = this; location != nullptr; location = location->mNext.get()) {
        if (++links > cMaxChain) throw Sys_StreamWriteException(ioStream.GetPosition());
        ioStream.WriteUInt8(location->mType);
        ioStream.WriteInt16(location->GetSize());
        location->StreamOutBody(ioStream);
    }
}

void FF_Document::Location::StreamOutBody(Sys_TypedOutStream&) const {}

class FF_Document::Location::Chain : public Maker
{
public:
    using Maker::Maker;

    void Plain(std::size_t iSize)
    {
        auto plain = std::make_unique<Location>();
        plain->mSizeRead = static_cast<Cmn_Int16>(iSize);
        Location* const made = plain.get();
        *mEnd = std::move(plain);
        mEnd = &made->mNext;
    }
    void Local(std::size_t iCount)
    {
        auto local = std::make_unique<LocalLocation>();
        mPieces = &local->mOffsets;
        mPieces->reserve(iCount);
        *mEnd = std::move(local);
    }
    void Piece(Cmn_UInt32 iAt) { mPieces->push_back(iAt); }
    void Bytes(FF_ETOCPart, Cmn_UInt8 iType, std::size_t iSize)
    {
        *mEnd = std::make_unique<InvalidLocation>(iType, TakeBytes(iSize));
    }

    std::unique_ptr<Location> mFirst;

private:
    std::unique_ptr<Location>* mEnd = &mFirst;
    std::vector<Cmn_UInt32>* mPieces = nullptr;
};

std::unique_ptr<FF_Document::Location> FF_Document::Location::StreamIn(Sys_TypedInStream& ioStream)
{
    Chain chain(ioStream);
    FF_TakeTOCLocation(chain, chain);
    return std::move(chain.mFirst);
}

std::string FF_Document::Location::Dump() const
{
    return mNext ? mNext->Dump() : I18N_Utils::GetString(eText_Invalid);
}

FF_Document::LocalLocation::LocalLocation()
    : Location(cLocal)
{
}
FF_Document::LocalLocation::~LocalLocation() = default;
FF_Document::LocalLocation::LocalLocation(const LocalLocation&) = default;

Cmn_Int16 FF_Document::LocalLocation::GetSize() const
{
    return static_cast<Cmn_Int16>(2 + 4 * mOffsets.size());
}

std::unique_ptr<FF_Document::Location> FF_Document::LocalLocation::Clone() const
{
    return std::unique_ptr<Location>(new LocalLocation(*this));
}

void FF_Document::LocalLocation::AddOffset(Cmn_UInt32 iOffset)
{
    if (mOffsets.size() >= cMaxOffsets) throw std::length_error(I18N_Utils::GetString(eText_TooLong));
    mOffsets.push_back(iOffset);
}

void FF_Document::LocalLocation::StreamOutBody(Sys_TypedOutStream& ioStream) const
{
    ioStream.WriteInt16(static_cast<Cmn_Int16>(mOffsets.size()));
    for (const Cmn_UInt32 offset : mOffsets)
        ioStream.WriteUInt32(offset);
}

std::string FF_Document::LocalLocation::Dump() const
{
    std::string text;
    for (const Cmn_UInt32 offset : mOffsets)
        text += (text.empty() ? "" : ", ") + std::to_string(offset);
    return "[" + text + "]";
}

FF_Document::InvalidLocation::InvalidLocation(Cmn_UInt8 iType, std::vector<Cmn_UInt8> iBytes)
    : Location(iType)
    , mBytes(Held(std::move(iBytes)))
{
    Cmn_ASSERT(iType > cLocal);
}
FF_Document::InvalidLocation::~InvalidLocation() = default;
FF_Document::InvalidLocation::InvalidLocation(const InvalidLocation&) = default;

Cmn_Int16 FF_Document::InvalidLocation::GetSize() const { return static_cast<Cmn_Int16>(mBytes.size()); }

std::unique_ptr<FF_Document::Location> FF_Document::InvalidLocation::Clone() const
{
    return std::unique_ptr<Location>(new InvalidLocation(*this));
}

void FF_Document::InvalidLocation::StreamOutBody(Sys_TypedOutStream& ioStream) const
{
    ioStream.WriteBytes(mBytes.data(), mBytes.size());
}

std::string FF_Document::InvalidLocation::Dump() const
{
    std::string bytes = I18N_Utils::GetString(eText_Bytes);
    if (const std::size_t at = bytes.find("%1"); at != std::string::npos)
        bytes.replace(at, 2, std::to_string(mBytes.size()));
    return I18N_Utils::GetString(eText_Invalid) + " " + bytes;
}

// --- Display information

FF_Document::DisplayInfo::DisplayInfo(Cmn_UInt8 iType)
    : mType(iType)
{
}
FF_Document::DisplayInfo::~DisplayInfo() = default;

void FF_Document::DisplayInfo::StreamOut(Sys_TypedOutStream& ioStream) const
{
    ioStream.WriteUInt8(mType);
    ioStream.WriteInt16(GetSize());
    StreamOutBody(ioStream);
}

class FF_Document::DisplayInfo::Taker : public Maker
{
public:
    using Maker::Maker;

    void Text(std::size_t iCount)
    {
        auto display = std::make_unique<StringDisplayInfo>(std::string_view(), mStream.GetEncoding());
        display->mText.resize(iCount);
        mStream.ReadBytes(display->mText.data(), iCount);
        mMade = std::move(display);
    }
    void Bytes(FF_ETOCPart, Cmn_UInt8 iType, std::size_t iSize)
    {
        mMade = std::make_unique<InvalidDisplayInfo>(iType, TakeBytes(iSize));
    }

    std::unique_ptr<DisplayInfo> mMade;
};

std::unique_ptr<FF_Document::DisplayInfo> FF_Document::DisplayInfo::StreamIn(Sys_TypedInStream& ioStream)
{
    Taker taker(ioStream);
    FF_TakeTOCDisplay(taker, taker);
    return std::move(taker.mMade);
}

FF_Document::StringDisplayInfo::StringDisplayInfo(std::string_view iText, ETextEncoding iEncoding)
    : DisplayInfo(cString)
    , mText(Cut(Utf8From(iText, iEncoding, false)))
    , mEncoding(iEncoding)
{
}
FF_Document::StringDisplayInfo::~StringDisplayInfo() = default;

Cmn_Int16 FF_Document::StringDisplayInfo::GetSize() const { return static_cast<Cmn_Int16>(4 + mText.size()); }

std::unique_ptr<FF_Document::DisplayInfo> FF_Document::StringDisplayInfo::Clone() const
{
    return std::unique_ptr<DisplayInfo>(new StringDisplayInfo(*this));
}

std::string FF_Document::StringDisplayInfo::GetText() const
{
    if (mEncoding == eTextEncoding_Utf8) return mText;
    Sys_MemOutStream bytes;
    Sys_TypedOutStream(bytes).WriteString(mText);
    Sys_MemInStream back(bytes.GetBytes());
    return Sys_TypedInStream(back, false, mEncoding).ReadString();
}

// Not WriteString: the text is UTF-8 already, and stays as it was read.
void FF_Document::StringDisplayInfo::StreamOutBody(Sys_TypedOutStream& ioStream) const
{
    ioStream.WriteUInt32(static_cast<Cmn_UInt32>(mText.size()));
    ioStream.WriteBytes(mText.data(), mText.size());
}

std::string FF_Document::StringDisplayInfo::Utf8From(std::string_view iText, ETextEncoding iEncoding,
                                                     bool iRepair)
{
    if (iEncoding == eTextEncoding_Utf8 && !iRepair) return std::string(iText);
    // Typed streams know how texts are turned and repaired.
    Sys_MemOutStream bytes;
    Sys_TypedOutStream(bytes, false, iEncoding, iRepair).WriteString(iText);
    Sys_MemInStream back(bytes.GetBytes());
    return Sys_TypedInStream(back).ReadString();
}

std::string_view FF_Document::StringDisplayInfo::Cut(std::string_view iUtf8)
{
    if (iUtf8.size() <= cMaxText) return iUtf8;
    // The first byte that is left out begins a character; ill-formed text has no place that would be better.
    std::size_t end = cMaxText;
    while (end > cMaxText - 3 && (static_cast<unsigned char>(iUtf8[end]) & 0xC0) == 0x80)
        --end;
    return iUtf8.substr(0, end);
}

FF_Document::InvalidDisplayInfo::InvalidDisplayInfo(Cmn_UInt8 iType, std::vector<Cmn_UInt8> iBytes)
    : DisplayInfo(iType)
    , mBytes(Held(std::move(iBytes)))
{
    Cmn_ASSERT(iType != cString);
}
FF_Document::InvalidDisplayInfo::~InvalidDisplayInfo() = default;

Cmn_Int16 FF_Document::InvalidDisplayInfo::GetSize() const { return static_cast<Cmn_Int16>(mBytes.size()); }

std::unique_ptr<FF_Document::DisplayInfo> FF_Document::InvalidDisplayInfo::Clone() const
{
    return std::unique_ptr<DisplayInfo>(new InvalidDisplayInfo(*this));
}

std::string FF_Document::InvalidDisplayInfo::GetText() const
{
    return I18N_Utils::GetString(eText_NoDisplayInfo);
}

void FF_Document::InvalidDisplayInfo::StreamOutBody(Sys_TypedOutStream& ioStream) const
{
    ioStream.WriteBytes(mBytes.data(), mBytes.size());
}

// --- Index information

FF_Document::IndexInfo::IndexInfo(Cmn_UInt8 iType)
    : mType(iType)
{
}
FF_Document::IndexInfo::~IndexInfo() = default;

void FF_Document::IndexInfo::StreamOut(Sys_TypedOutStream& ioStream) const
{
    ioStream.WriteUInt8(mType);
    ioStream.WriteInt16(GetSize());
    StreamOutBody(ioStream);
}

class FF_Document::IndexInfo::Taker : public Maker
{
public:
    using Maker::Maker;

    void Bytes(FF_ETOCPart, Cmn_UInt8 iType, std::size_t iSize)
    {
        mMade = std::make_unique<InvalidIndexInfo>(iType, TakeBytes(iSize));
    }

    std::unique_ptr<IndexInfo> mMade;
};

std::unique_ptr<FF_Document::IndexInfo> FF_Document::IndexInfo::StreamIn(Sys_TypedInStream& ioStream)
{
    Taker taker(ioStream);
    FF_TakeTOCIndex(taker, taker);
    return std::move(taker.mMade);
}

FF_Document::InvalidIndexInfo::InvalidIndexInfo(Cmn_UInt8 iType, std::vector<Cmn_UInt8> iBytes)
    : IndexInfo(iType)
    , mBytes(Held(std::move(iBytes)))
{
}
FF_Document::InvalidIndexInfo::~InvalidIndexInfo() = default;

Cmn_Int16 FF_Document::InvalidIndexInfo::GetSize() const { return static_cast<Cmn_Int16>(mBytes.size()); }

std::unique_ptr<FF_Document::IndexInfo> FF_Document::InvalidIndexInfo::Clone() const
{
    return std::unique_ptr<IndexInfo>(new InvalidIndexInfo(*this));
}

void FF_Document::InvalidIndexInfo::StreamOutBody(Sys_TypedOutStream& ioStream) const
{
    ioStream.WriteBytes(mBytes.data(), mBytes.size());
}

// --- Values

FF_Document::TOCValue::TOCValue(std::string_view iDescription, ETextEncoding iEncoding)
    : mLocation(std::make_unique<LocalLocation>())
    , mDisplay(std::make_unique<StringDisplayInfo>(iDescription, iEncoding))
    , mIndex(std::make_unique<InvalidIndexInfo>())
{
}

FF_Document::TOCValue::TOCValue(std::unique_ptr<Location> iLocation, std::unique_ptr<DisplayInfo> iDisplay,
                                std::unique_ptr<IndexInfo> iIndex)
    : mLocation(std::move(iLocation))
    , mDisplay(std::move(iDisplay))
    , mIndex(std::move(iIndex))
{
    if (!Cmn_ASSERT(mLocation != nullptr)) mLocation = std::make_unique<LocalLocation>();
    if (!Cmn_ASSERT(mDisplay != nullptr)) mDisplay = std::make_unique<StringDisplayInfo>(std::string_view());
    if (!Cmn_ASSERT(mIndex != nullptr)) mIndex = std::make_unique<InvalidIndexInfo>();
}

FF_Document::TOCValue::~TOCValue() = default;
FF_Document::TOCValue::TOCValue(const TOCValue& iOther)
    : mLocation(iOther.mLocation->Clone())
    , mDisplay(iOther.mDisplay->Clone())
    , mIndex(iOther.mIndex->Clone())
{
}
FF_Document::TOCValue::TOCValue(TOCValue&&) noexcept = default;

FF_Document::TOCValue& FF_Document::TOCValue::operator=(TOCValue iOther) noexcept
{
    mLocation.swap(iOther.mLocation);
    mDisplay.swap(iOther.mDisplay);
    mIndex.swap(iOther.mIndex);
    return *this;
}

const FF_Document::LocalLocation* FF_Document::TOCValue::GetLocal() const
{
    return dynamic_cast<const LocalLocation*>(mLocation.get());
}

void FF_Document::TOCValue::AddOffset(Cmn_UInt32 iOffset)
{
    auto* local = dynamic_cast<LocalLocation*>(mLocation.get());
    if (local == nullptr) {
        auto made = std::make_unique<LocalLocation>();
        local = made.get();
        mLocation = std::move(made);
    }
    local->AddOffset(iOffset);
}

void FF_Document::TOCValue::Invalidate() { mLocation = std::make_unique<Location>(); }

void FF_Document::TOCValue::StreamOut(Sys_TypedOutStream& ioStream) const
{
    mLocation->StreamOut(ioStream);
    mDisplay->StreamOut(ioStream);
    mIndex->StreamOut(ioStream);
}

FF_Document::TOCValue FF_Document::TOCValue::StreamIn(Sys_TypedInStream& ioStream)
{
    auto location = Location::StreamIn(ioStream);
    auto display = DisplayInfo::StreamIn(ioStream);
    auto index = IndexInfo::StreamIn(ioStream);
    return TOCValue(std::move(location), std::move(display), std::move(index));
}
