// RandomFile: MIDI files spelled at random, as plain lists of their events and as bytes. They
// end within the time line.
#pragma once

#include "Kora/SMF/SMF_File.h"
#include "Support/MidiBytes.h"

#include <gtest/gtest.h>
#include <random>

// An event as text: "96: 90 3c40", "0: ff51 07a120".
inline std::string Text(Cmn_Int64 iTick, std::string_view iStatus, std::string_view iData)
{
    std::string text = std::to_string(iTick) + ": ";
    for (const std::string_view part : {iStatus, iData}) {
        for (const char byte : part)
            text += {"0123456789abcdef"[(byte >> 4) & 15], "0123456789abcdef"[byte & 15]};
        text += ' ';
    }
    return text;
}

inline std::string Text(const SMF_Event& iEvent, Cmn_Int64 iLater = 0)
{
    std::string status(1, static_cast<char>(iEvent.mStatus));
    if (iEvent.mStatus == SMF_Event::cMeta) status += static_cast<char>(iEvent.mMetaType);
    return Text(iEvent.mTick + iLater, status, iEvent.mData);
}

inline std::vector<std::string> Texts(const SMF_Track& iTrack, Cmn_Int64 iLater = 0)
{
    std::vector<std::string> texts;
    for (const SMF_Event& event : iTrack)
        texts.push_back(Text(event, iLater));
    return texts;
}

struct RandomFile
{
    explicit RandomFile(unsigned iSeed)
        : mRandom(iSeed)
    {
        const std::size_t tracks = 1 + UpTo(3);
        const int divisions[] = {1, 24, 96, 333, 480, 960, 12345, 32767};
        mBytes = MidiBytes::Chunk("MThd", MidiBytes::BigEndian(tracks > 1 || UpTo(1) == 1, 2) +
                                              MidiBytes::BigEndian(static_cast<Cmn_Int64>(tracks), 2) +
                                              MidiBytes::BigEndian(divisions[UpTo(7)], 2) + Content(UpTo(2)));
        for (std::size_t i = 0; i < tracks; ++i) {
            AddOther();
            AddTrack();
        }
        AddOther();
    }

    std::string mBytes;
    std::vector<std::vector<std::string>> mEvents; // as Text has them, of each track
    std::vector<std::string> mOthers;

private:
    std::size_t UpTo(std::size_t iMost) { return mRandom() % (iMost + 1); }
    std::string Content(std::size_t iSize, int iMost = 255)
    {
        std::string content;
        for (std::size_t i = 0; i < iSize; ++i)
            content += static_cast<char>(mRandom() % static_cast<unsigned>(iMost + 1));
        return content;
    }
    // Often in more bytes than it needs.
    std::string Length(Cmn_Int64 iValue)
    {
        std::string bytes = MidiBytes::VariableLength(iValue);
        while (bytes.size() < 4 && UpTo(5) == 0)
            bytes.insert(0, 1, '\x80');
        return bytes;
    }
    void AddOther()
    {
        if (UpTo(3) != 0) return;
        mOthers.push_back(Content(UpTo(9)));
        mBytes += MidiBytes::Chunk(UpTo(1) ? "Junk" : "MThd", mOthers.back());
    }
    std::string MetaContent(int iType)
    {
        if (iType == 0x51)
            return UpTo(2) ? MidiBytes::BigEndian(300000 + static_cast<int>(UpTo(500000)), 3)
                           : "\x1F\xFF\xFF";
        if (iType == 0x58)
            return MidiBytes::BigEndian(1 + static_cast<int>(UpTo(254)), 1) + Content(1, 11) + Content(2);
        if (iType == 0x59) return MidiBytes::BigEndian(static_cast<int>(UpTo(14)) - 7, 1) + Content(1, 1);
        return Content(UpTo(20) * UpTo(10));
    }
    void AddTrack()
    {
        std::string body;
        std::vector<std::string>& events = mEvents.emplace_back();
        Cmn_Int64 tick = 0;
        int running = -1;
        const auto delta = [&] {
            const Cmn_Int64 value = UpTo(40) == 0 ? static_cast<Cmn_Int64>(UpTo(17000))
                                                  : static_cast<Cmn_Int64>(UpTo(1) * UpTo(200));
            tick += value;
            body += Length(value);
        };
        for (std::size_t i = UpTo(12); i > 0; --i) {
            delta();
            const int types[] = {0, 1, 0x51, 0x58, 0x59, 0x7F, 0xFF};
            const std::size_t kind = UpTo(9);
            if (kind < 7) {
                const int status = UpTo(1) && running >= 0 ? running : 0x80 + static_cast<int>(UpTo(0x6F));
                const std::string data = Content((status & 0xE0) == 0xC0 ? 1 : 2, 127);
                events.push_back(Text(tick, std::string(1, static_cast<char>(status)), data));
                if (running != status || UpTo(1)) body += static_cast<char>(status);
                body += data;
                running = status;
                continue;
            }
            const int type = types[UpTo(6)];
            const std::string data = kind == 7 ? Content(UpTo(20)) : MetaContent(type);
            const std::string status =
                kind == 7 ? UpTo(1) ? "\xF0" : "\xF7" : std::string("\xFF") + static_cast<char>(type);
            events.push_back(Text(tick, status, data));
            body += status + Length(static_cast<Cmn_Int64>(data.size())) + data;
            running = -1;
        }
        delta();
        events.push_back(Text(tick, "\xFF\x2F", ""));
        mBytes += MidiBytes::Chunk("MTrk", body + "\xFF\x2F" + Length(0));
    }

    std::mt19937 mRandom;
};
