#include "Kora/FF/Document/FF_Document_TOCKey.h"

#include <algorithm>

FF_Document::Context::Context() = default;
FF_Document::Context::Context(Cmn_Int16 iStreamType, Cmn_UInt32 iParentPosition, bool iIsList,
                              Cmn_Int32 iListIndex)
    : mStreamType(iStreamType)
    , mParentPosition(iParentPosition)
    , mIsList(iIsList)
    , mListIndex(iListIndex)
{
}
FF_Document::Context::~Context() = default;

std::strong_ordering FF_Document::Context::operator<=>(const Context& iOther) const
{
    if (const auto order = mStreamType <=> iOther.mStreamType; order != 0) return order;
    return mListIndex <=> iOther.mListIndex;
}

void FF_Document::Context::StreamOut(Sys_TypedOutStream& ioStream) const
{
    ioStream.WriteInt16(mStreamType);
    ioStream.WriteUInt32(mParentPosition);
    ioStream.WriteBool(mIsList);
    ioStream.WriteInt32(mListIndex);
}

void FF_Document::Context::StreamIn(Sys_TypedInStream& ioStream)
{
    const Cmn_Int16 type = ioStream.ReadInt16();
    const Cmn_UInt32 parent = ioStream.ReadUInt32();
    const bool isList = ioStream.ReadBool();
    const Cmn_Int32 listIndex = ioStream.ReadInt32();
    *this = Context(type, parent, isList, listIndex);
}

std::string FF_Document::Context::Dump() const
{
    std::string text = std::to_string(mStreamType);
    if (mListIndex != 0) text += "[" + std::to_string(mListIndex) + "]";
    return text;
}

FF_Document::TOCKey::TOCKey() = default;
FF_Document::TOCKey::TOCKey(Cmn_Int16 iStreamType)
    : mContexts{Context(iStreamType)}
{
}
FF_Document::TOCKey::TOCKey(std::vector<Context> iContexts)
    : mContexts(std::move(iContexts))
{
}
FF_Document::TOCKey::~TOCKey() = default;
FF_Document::TOCKey::TOCKey(const TOCKey&) = default;
FF_Document::TOCKey& FF_Document::TOCKey::operator=(const TOCKey&) = default;

FF_Document::TOCKey FF_Document::TOCKey::Inside(const Context& iContext) const
{
    TOCKey key(*this);
    key.mContexts.push_back(iContext);
    return key;
}

std::strong_ordering FF_Document::TOCKey::operator<=>(const TOCKey& iOther) const
{
    // std::lexicographical_compare_three_way, which not every standard library has yet.
    const auto [here, there] =
        std::mismatch(mContexts.begin(), mContexts.end(), iOther.mContexts.begin(), iOther.mContexts.end());
    if (here == mContexts.end() || there == iOther.mContexts.end())
        return mContexts.size() <=> iOther.mContexts.size();
    return *here <=> *there;
}

void FF_Document::TOCKey::StreamOut(Sys_TypedOutStream& ioStream) const
{
    ioStream.WriteInt32(static_cast<Cmn_Int32>(mContexts.size()));
    for (const Context& context : mContexts)
        context.StreamOut(ioStream);
}

void FF_Document::TOCKey::StreamIn(Sys_TypedInStream& ioStream)
{
    const Cmn_Int64 at = ioStream.GetPosition();
    const Cmn_Int32 count = ioStream.ReadInt32();
    if (count < 0 || count > ioStream.GetBytesLeft() / Context::cStreamSize)
        throw Sys_StreamReadException(at);
    std::vector<Context> contexts(static_cast<std::size_t>(count));
    for (Context& context : contexts)
        context.StreamIn(ioStream);
    mContexts.swap(contexts);
}

std::string FF_Document::TOCKey::Dump() const
{
    std::string text;
    for (const Context& context : mContexts)
        text += (text.empty() ? "" : "/") + context.Dump();
    return text;
}
