// FF_TakeTOCValue: the one walk over a value of the table of contents.
//
// A value is a chain of locations, the display information, the index information, each
// {type (8), size (16), body}:
//
//   0  size                   plain: ends the chain where the size is 0, otherwise another location follows,
//                             which has a size of its own: this one may be anything
//   1  size  count  pieces    local: count (16), then the pieces (32 each); ends the chain
//   …  size  bytes            unknown: ends the chain
//
// Source gives the bytes: Take<T>(), Require(bool), which does not come back where it does not hold, and
// GetBytesLeft(). Sink gets what they say, in order, and passes over the bytes that it is told of:
//
//   Plain(size)               a plain location
//   Local(count)              a local one, then Piece(position) for each of its pieces
//   Text(count)               a description of count bytes that follow
//   Bytes(part, type, size)   a part of a type that has no meaning here; size bytes follow
#pragma once

#include "Kora/FF/Format/FF_Format_p.h"

enum FF_ETOCPart { eTOCPart_Location, eTOCPart_Display, eTOCPart_Index };

// With iFollows the part itself follows. What is left differs between a value in its table and one by itself:
// nothing that is no part of the value may be held against it.
template <class Source>
std::size_t FF_TakeTOCPartSize(Source& ioSource, bool iFollows = true)
{
    const auto size = ioSource.template Take<Cmn_Int16>();
    ioSource.Require(size >= 0 && (!iFollows || size <= ioSource.GetBytesLeft()));
    return static_cast<std::size_t>(size);
}

template <class Source, class Sink>
void FF_TakeTOCLocation(Source& ioSource, Sink& ioSink)
{
    for (int link = 0; link < FF_Format::cMaxLocations; ++link) {
        const auto type = ioSource.template Take<Cmn_UInt8>();
        const std::size_t size = FF_TakeTOCPartSize(ioSource, type != FF_Format::cPlainLocation);
        if (type == FF_Format::cPlainLocation) {
            ioSink.Plain(size);
            if (size == 0) return;
            continue;
        }
        if (type != FF_Format::cLocalLocation) return ioSink.Bytes(eTOCPart_Location, type, size);
        const auto count = ioSource.template Take<Cmn_Int16>();
        ioSource.Require(count >= 0 && size == 2 + FF_Format::cPieceSize * static_cast<std::size_t>(count));
        ioSink.Local(static_cast<std::size_t>(count));
        for (Cmn_Int16 i = 0; i < count; ++i)
            ioSink.Piece(ioSource.template Take<Cmn_UInt32>());
        return;
    }
    ioSource.Require(false);
}

template <class Source, class Sink>
void FF_TakeTOCDisplay(Source& ioSource, Sink& ioSink)
{
    const auto type = ioSource.template Take<Cmn_UInt8>();
    const std::size_t size = FF_TakeTOCPartSize(ioSource);
    if (type != FF_Format::cStringDescription) return ioSink.Bytes(eTOCPart_Display, type, size);
    const auto count = ioSource.template Take<Cmn_UInt32>();
    ioSource.Require(size == sizeof count + std::size_t{count});
    ioSink.Text(count);
}

template <class Source, class Sink>
void FF_TakeTOCIndex(Source& ioSource, Sink& ioSink)
{
    const auto type = ioSource.template Take<Cmn_UInt8>();
    const std::size_t size = FF_TakeTOCPartSize(ioSource);
    ioSink.Bytes(eTOCPart_Index, type, size);
}

template <class Source, class Sink>
void FF_TakeTOCValue(Source& ioSource, Sink& ioSink)
{
    FF_TakeTOCLocation(ioSource, ioSink);
    FF_TakeTOCDisplay(ioSource, ioSink);
    FF_TakeTOCIndex(ioSource, ioSink);
}
