// FF_Document::TOCValue: where one stream lies, how it is described, and what indexes it has.
//
// Each of the three parts is told apart on disk by a type byte and has a 16-bit size. What this library
// does not know it keeps as an invalid placeholder with its type and bytes, so that a table that is
// written again is the same.
// Ownership: a value owns its parts; copies are deep.
#pragma once

#include "Kora/FF/Document/FF_Document.h"

#include <memory>

// Not in the exported classes, so that every module has them as constants of its own.
struct FF_LocationConstants
{
    // Types of locations, fixed on disk: plain leads to the next of its chain, or nowhere; local is in this file.
    static constexpr Cmn_UInt8 cPlain = 0;
    static constexpr Cmn_UInt8 cLocal = 1; // in this file
    static constexpr int cMaxChain = 64;   // locations in a chain
};

struct FF_LocalLocationConstants
{
    static constexpr std::size_t cMaxOffsets = 8191; // what a 16-bit size can hold
};

struct FF_DisplayInfoConstants
{
    static constexpr Cmn_UInt8 cString = 1; // the type of a text, fixed on disk
};

struct FF_StringDisplayInfoConstants
{
    // What a 16-bit size leaves for UTF-8 bytes; longer texts are cut at a character.
    static constexpr std::size_t cMaxText = 32767 - 4;
};

// Where a stream lies: a chain of locations, of which the last may be one that says so.
class KORA_API FF_Document::Location : public FF_LocationConstants
{
public:
    explicit Location(Cmn_UInt8 iType = cPlain);
    virtual ~Location();

    Cmn_UInt8 GetType() const { return mType; }
    // Bytes of the body on disk. A plain location's is 0 at the end of the chain.
    virtual Cmn_Int16 GetSize() const;
    [[nodiscard]] virtual std::unique_ptr<Location> Clone() const;
    // The next of the chain, null at its end. Only plain locations have one: another
    // asserts and stays the end.
    const Location* GetNext() const { return mNext.get(); }
    void SetNext(std::unique_ptr<Location> iNext);

    // A chain of more than cMaxChain, which no reader takes, throws Sys_StreamWriteException.
    void StreamOut(Sys_TypedOutStream& ioStream) const;
    // A chain of more than cMaxChain, a size that is negative or past the bytes left, and a size that does
    // not fit its count throw Sys_StreamReadException.
    [[nodiscard]] static std::unique_ptr<Location> StreamIn(Sys_TypedInStream& ioStream);

    [[nodiscard]] virtual std::string Dump() const; // "Invalid" where the chain leads nowhere

protected:
    Location(const Location&);
    Location& operator=(const Location&) = delete;
    virtual void StreamOutBody(Sys_TypedOutStream& ioStream) const;

private:
    class Chain; // what StreamIn makes

    Cmn_UInt8 mType;
    Cmn_Int16 mSizeRead = 0; // of a plain location that another follows, as its file has it
    std::unique_ptr<Location> mNext;
};

// In this file: where each piece of the stream stands, in reading order.
class KORA_API FF_Document::LocalLocation : public Location, public FF_LocalLocationConstants
{
public:
    LocalLocation();
    ~LocalLocation() override;
    Cmn_Int16 GetSize() const override; // 2 + 4 × count
    std::unique_ptr<Location> Clone() const override;
    const std::vector<Cmn_UInt32>& GetOffsets() const { return mOffsets; }
    // Throws std::length_error ("list<T> too long") past cMaxOffsets.
    void AddOffset(Cmn_UInt32 iOffset);
    std::string Dump() const override;

protected:
    LocalLocation(const LocalLocation&);
    void StreamOutBody(Sys_TypedOutStream& ioStream) const override;

private:
    friend class Location;
    std::vector<Cmn_UInt32> mOffsets;
};

// Of a type that this library does not know; ends its chain.
class KORA_API FF_Document::InvalidLocation : public Location
{
public:
    InvalidLocation(Cmn_UInt8 iType, std::vector<Cmn_UInt8> iBytes);
    ~InvalidLocation() override;
    Cmn_Int16 GetSize() const override;
    std::unique_ptr<Location> Clone() const override;
    std::string Dump() const override; // "Invalid [12 bytes]"

protected:
    InvalidLocation(const InvalidLocation&);
    void StreamOutBody(Sys_TypedOutStream& ioStream) const override;

private:
    std::vector<Cmn_UInt8> mBytes;
};

// A description for diagnostics.
class KORA_API FF_Document::DisplayInfo : public FF_DisplayInfoConstants
{
public:
    virtual ~DisplayInfo();
    Cmn_UInt8 GetType() const { return mType; }
    virtual Cmn_Int16 GetSize() const = 0;
    [[nodiscard]] virtual std::unique_ptr<DisplayInfo> Clone() const = 0;
    virtual std::string GetText() const = 0;
    void StreamOut(Sys_TypedOutStream& ioStream) const;
    [[nodiscard]] static std::unique_ptr<DisplayInfo> StreamIn(Sys_TypedInStream& ioStream);

protected:
    explicit DisplayInfo(Cmn_UInt8 iType);
    virtual void StreamOutBody(Sys_TypedOutStream& ioStream) const = 0;

private:
    class Taker; // what StreamIn makes

    Cmn_UInt8 mType;
};

class KORA_API FF_Document::StringDisplayInfo : public DisplayInfo, public FF_StringDisplayInfoConstants
{
public:
    // iEncoding: of the text here and in GetText.
    explicit StringDisplayInfo(std::string_view iText, ETextEncoding iEncoding = eTextEncoding_Utf8);
    ~StringDisplayInfo() override;
    Cmn_Int16 GetSize() const override; // 4 + bytes of UTF-8
    std::unique_ptr<DisplayInfo> Clone() const override;
    std::string GetText() const override;

    // A text as UTF-8, repaired where that is wanted, and its beginning of at most cMaxText bytes.
    [[nodiscard]] static std::string Utf8From(std::string_view iText, ETextEncoding iEncoding, bool iRepair);
    [[nodiscard]] static std::string_view Cut(std::string_view iUtf8);

protected:
    void StreamOutBody(Sys_TypedOutStream& ioStream) const override;

private:
    friend class DisplayInfo;
    std::string mText; // UTF-8, as on disk
    ETextEncoding mEncoding;
};

class KORA_API FF_Document::InvalidDisplayInfo : public DisplayInfo
{
public:
    InvalidDisplayInfo(Cmn_UInt8 iType, std::vector<Cmn_UInt8> iBytes);
    ~InvalidDisplayInfo() override;
    Cmn_Int16 GetSize() const override;
    std::unique_ptr<DisplayInfo> Clone() const override;
    std::string GetText() const override; // "<NO DISPLAY INFO>"

protected:
    void StreamOutBody(Sys_TypedOutStream& ioStream) const override;

private:
    std::vector<Cmn_UInt8> mBytes;
};

// No kind is known yet: every one read from a file is invalid.
class KORA_API FF_Document::IndexInfo
{
public:
    virtual ~IndexInfo();
    Cmn_UInt8 GetType() const { return mType; }
    virtual Cmn_Int16 GetSize() const = 0;
    [[nodiscard]] virtual std::unique_ptr<IndexInfo> Clone() const = 0;
    void StreamOut(Sys_TypedOutStream& ioStream) const;
    [[nodiscard]] static std::unique_ptr<IndexInfo> StreamIn(Sys_TypedInStream& ioStream);

protected:
    explicit IndexInfo(Cmn_UInt8 iType);
    virtual void StreamOutBody(Sys_TypedOutStream& ioStream) const = 0;

private:
    class Taker; // what StreamIn makes

    Cmn_UInt8 mType;
};

class KORA_API FF_Document::InvalidIndexInfo : public IndexInfo
{
public:
    explicit InvalidIndexInfo(Cmn_UInt8 iType = 0, std::vector<Cmn_UInt8> iBytes = {});
    ~InvalidIndexInfo() override;
    Cmn_Int16 GetSize() const override;
    std::unique_ptr<IndexInfo> Clone() const override;

protected:
    void StreamOutBody(Sys_TypedOutStream& ioStream) const override;

private:
    std::vector<Cmn_UInt8> mBytes;
};

class KORA_API FF_Document::TOCValue
{
public:
    // An empty local location, the description, an invalid index.
    explicit TOCValue(std::string_view iDescription, ETextEncoding iEncoding = eTextEncoding_Utf8);
    // A part that is null asserts and becomes what the constructor above gives.
    TOCValue(std::unique_ptr<Location> iLocation, std::unique_ptr<DisplayInfo> iDisplay,
             std::unique_ptr<IndexInfo> iIndex);
    virtual ~TOCValue();
    TOCValue(const TOCValue& iOther);
    TOCValue(TOCValue&&) noexcept;
    TOCValue& operator=(TOCValue iOther) noexcept;

    const Location& GetLocation() const { return *mLocation; }
    const DisplayInfo& GetDisplayInfo() const { return *mDisplay; }
    const IndexInfo& GetIndexInfo() const { return *mIndex; }
    // The location when it is one in this file, null otherwise.
    const LocalLocation* GetLocal() const;
    // Appends a piece; a location of another kind is replaced first.
    void AddOffset(Cmn_UInt32 iOffset);
    void Invalidate(); // leaves a plain location
    void StreamOut(Sys_TypedOutStream& ioStream) const;
    [[nodiscard]] static TOCValue StreamIn(Sys_TypedInStream& ioStream);

private:
    std::unique_ptr<Location> mLocation;
    std::unique_ptr<DisplayInfo> mDisplay;
    std::unique_ptr<IndexInfo> mIndex;
};
