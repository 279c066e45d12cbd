#include "Kora/SMF/SMF_TimeEdit.h"

#include "Kora/SMF/SMF_TimeMaps.h"
#include "Kora/SMF/SMF_TrackBuilder.h"
#include "SMF/RandomFile.h"
#include "Support/AssertRecorder.h"

#include <algorithm>
#include <map>
#include <sstream>

namespace {

constexpr Cmn_Int32 cDivision = 960;
Time_TickLength Ticks(Cmn_Int64 iFileTicks) { return Time_TickLength(iFileTicks * 1000); }
Time_Tick At(Cmn_Int64 iFileTick) { return SMF_TimeMaps::cStartTick + Ticks(iFileTick); }

// Of events written as Text has them: "10: 90 3c40, 20: ff2f".
SMF_Track TrackOf(const std::string& iTexts)
{
    SMF_TrackBuilder builder;
    std::istringstream all(iTexts);
    for (std::string text; std::getline(all, text, ',');) {
        std::istringstream stream(text);
        Cmn_Int64 tick = 0;
        char colon;
        std::string status;
        std::string data;
        stream >> tick >> colon >> status >> data;
        const std::string head = MidiBytes::Bytes(status);
        const std::string content = MidiBytes::Bytes(data);
        const auto byte = static_cast<Cmn_UInt8>(head[0]);
        if (byte == SMF_Event::cMeta)
            builder.AppendMeta(tick, static_cast<Cmn_UInt8>(head[1]), content);
        else if (byte >= SMF_Event::cSysEx)
            builder.AppendSysEx(tick, byte, content);
        else
            builder.AppendChannel(tick, byte, static_cast<Cmn_UInt8>(content[0]),
                                  content.size() > 1 ? static_cast<Cmn_UInt8>(content[1]) : Cmn_UInt8{0});
    }
    return builder.Finish();
}

std::string EventsOf(const SMF_Track& iTrack)
{
    std::string joined;
    for (std::string text : Texts(iTrack)) {
        text.erase(text.find_last_not_of(' ') + 1);
        joined += (joined.empty() ? "" : ", ") + text;
    }
    return joined;
}

using Edit = std::function<void(SMF_TimeEdit&)>;
using Lines = std::vector<std::string>;

void DeleteTenToTwenty(SMF_TimeEdit& ioEdit) { ioEdit.DeleteTime(At(10), At(20)); }
void RepeatTenToTwenty(SMF_TimeEdit& ioEdit) { ioEdit.RepeatTime(At(10), At(20), 1); }

const struct
{
    const char* mName;
    const char* mIn;
    Edit mEdit;
    const char* mExpected;
} cWholeMusic[] = {
    {"a note that ends inside ends at the deletion", "5: 90 3c40, 15: 80 3c40, 30: ff2f", DeleteTenToTwenty,
     "5: 90 3c40, 10: 80 3c40, 20: ff2f"},
    {"one across it is shortened, one inside it goes",
     "5: 90 3c40, 11: 90 4040, 12: 80 4000, 25: 80 3c40, 30: ff2f", DeleteTenToTwenty,
     "5: 90 3c40, 15: 80 3c40, 20: ff2f"},
    {"the first begun is the first ended", "5: 90 3c40, 11: 90 3c41, 15: 90 3c00, 25: 80 3c40, 30: ff2f",
     DeleteTenToTwenty, "5: 90 3c40, 10: 90 3c00, 20: ff2f"},
    {"the last of each kind takes effect, texts and key pressure go",
     "0: c0 01, 11: c0 02, 12: c0 03, 12: ff01 61, 13: e0 0050, 14: a0 3c01, 15: d0 20, 16: b0 0740, 30: "
     "ff2f",
     DeleteTenToTwenty, "0: c0 01, 10: c0 03, 10: e0 0050, 10: d0 20, 10: b0 0740, 20: ff2f"},
    {"unless it is set anew there", "11: c0 02, 12: ff51 0a0000, 20: c0 04, 20: ff51 0b0000, 30: ff2f",
     DeleteTenToTwenty, "10: c0 04, 10: ff51 0b0000, 20: ff2f"},
    {"a program comes with its bank, and the bank behind it too",
     "11: b0 0001, 12: c0 02, 13: b0 0005, 30: ff2f", DeleteTenToTwenty,
     "10: b0 0001, 10: c0 02, 10: b0 0005, 20: ff2f"},
    {"a parameter's data goes where it went",
     "1: b0 6500, 2: b0 6400, 11: b0 060c, 12: b0 657f, 13: b0 647f, 30: ff2f", DeleteTenToTwenty,
     "1: b0 6500, 2: b0 6400, 10: b0 060c, 10: b0 657f, 10: b0 647f, 20: ff2f"},
    {"a reset of all controllers is what it resets",
     "0: b0 407f, 0: e0 0050, 0: b0 7900, 5: b0 407f, 6: d0 10, 11: b0 7900, 12: b0 0120, 30: ff2f",
     DeleteTenToTwenty,
     "0: b0 407f, 0: e0 0050, 0: b0 7900, 5: b0 407f, 6: d0 10, 10: b0 4000, 10: d0 00, 10: b0 0120, 20: "
     "ff2f"},
    {"what sets up at the first tick stays there",
     "0: ff03 61, 0: f0 7ef7, 0: c0 01, 0: 90 3c40, 5: 80 3c40, 12: 90 3c40, 13: 80 3c40, 30: ff2f",
     [](SMF_TimeEdit& e) { e.DeleteTime(At(0), At(10)); },
     "0: ff03 61, 0: f0 7ef7, 0: c0 01, 2: 90 3c40, 3: 80 3c40, 20: ff2f"},
    {"and when time comes before", "0: ff03 61, 0: 90 3c40, 0: c0 01, 5: 80 3c40, 5: ff2f",
     [](SMF_TimeEdit& e) { e.InsertTime(At(0), Ticks(10)); },
     "0: ff03 61, 0: c0 01, 10: 90 3c40, 15: 80 3c40, 15: ff2f"},
    {"an insertion ends no note, and a note that ends there ends there",
     "5: 90 3c40, 6: 90 4040, 10: 80 3c40, 10: 90 3c41, 20: 80 4040, 21: 80 3c40, 30: ff2f",
     [](SMF_TimeEdit& e) { e.InsertTime(At(10), Ticks(10)); },
     "5: 90 3c40, 6: 90 4040, 10: 80 3c40, 20: 90 3c41, 30: 80 4040, 31: 80 3c40, 40: ff2f"},
    {"a copy begins as its stretch did, and its notes end with it",
     "0: c0 01, 8: 90 4040, 12: c0 02, 15: 90 3c40, 25: 80 3c40, 26: 80 4040, 30: ff2f", RepeatTenToTwenty,
     "0: c0 01, 8: 90 4040, 12: c0 02, 15: 90 3c40, 20: c0 01, 22: c0 02, 25: 90 3c40, 30: 80 3c40, 35: "
     "80 3c40, 36: 80 4040, 40: ff2f"},
    {"what was never told is as players begin", "12: e0 0050, 12: b0 407f, 12: b0 5b10, 30: ff2f",
     RepeatTenToTwenty,
     "12: e0 0050, 12: b0 407f, 12: b0 5b10, 20: b0 4000, 20: e0 0040, 22: e0 0050, 22: b0 407f, 22: b0 "
     "5b10, 40: ff2f"},
    {"a copy of a note that never ends does", "15: 90 3c40, 30: ff2f", RepeatTenToTwenty,
     "15: 90 3c40, 25: 90 3c40, 30: 80 3c40, 40: ff2f"},
    {"a moved stretch keeps its state, and leaves the others theirs",
     "0: c0 01, 12: c0 02, 13: 90 3c40, 22: 80 3c40, 30: c0 03, 31: ff01 61, 40: ff2f",
     [](SMF_TimeEdit& e) { e.MoveTime(At(10), At(20), At(35)); },
     "0: c0 01, 10: c0 02, 20: c0 03, 21: ff01 61, 25: c0 01, 27: c0 02, 28: 90 3c40, 35: 80 3c40, 35: "
     "c0 03, 40: ff2f"},
    {"ticks are rounded once", "10: c0 01, 30: ff2f",
     [](SMF_TimeEdit& e) {
         for (int i = 0; i < 3; ++i)
             e.InsertTime(At(5), Time_TickLength(500));
     },
     "12: c0 01, 32: ff2f"},
};

TEST(SMFTimeEdit, WhatTheRangeHoldsStaysWhole)
{
    for (const auto& row : cWholeMusic) {
        const AssertRecorder reports;
        SMF_File file(cDivision);
        file.AddTrack(TrackOf(row.mIn));
        SMF_TimeEdit edit(file);
        row.mEdit(edit);
        EXPECT_EQ(EventsOf(edit.GetFile().GetTracks()[0]), row.mExpected) << row.mName;
        EXPECT_EQ(reports.Take(), Lines()) << row.mName;
    }
}

TEST(SMFTimeEdit, OfSeveralTracksTheLastToSayItHolds)
{
    SMF_File file(cDivision);
    file.AddTrack(TrackOf("15: ff51 0a0000, 30: ff2f"));
    file.AddTrack(TrackOf("12: ff51 0b0000, 18: b0 0711, 25: ff2f"));
    file.AddTrack(TrackOf("20: b0 0712, 30: ff2f"));
    SMF_TimeEdit edit(file);
    DeleteTenToTwenty(edit);
    const SMF_File edited = edit.GetFile();
    EXPECT_EQ(EventsOf(edited.GetTracks()[0]), "10: ff51 0a0000, 20: ff2f");
    EXPECT_EQ(EventsOf(edited.GetTracks()[1]), "15: ff2f");
}

// A song as plain lists: notes by key, and the value of a controller in force at each tick.
struct PlainSong
{
    struct Note
    {
        Cmn_Int64 mBegin;
        Cmn_Int64 mEnd;
    };
    using Notes = std::map<int, std::vector<Note>>;

    Cmn_Int64 Length() const { return static_cast<Cmn_Int64>(mValues.size()); }

    template <class Map>
    void MapNotes(Map iMap)
    {
        Notes all;
        for (const auto& [key, notes] : mNotes)
            for (const Note& note : notes)
                iMap(note, all[key]);
        mNotes = all;
    }
    void Delete(Cmn_Int64 iFrom, Cmn_Int64 iTo)
    {
        const auto move = [&](Cmn_Int64 iAt) {
            return iAt < iFrom ? iAt : std::max(iAt - (iTo - iFrom), iFrom);
        };
        MapNotes([&](const Note& iNote, std::vector<Note>& ioNotes) {
            if (iNote.mBegin < iFrom || iNote.mBegin >= iTo)
                ioNotes.push_back({move(iNote.mBegin), move(iNote.mEnd)});
        });
        mValues.erase(mValues.begin() + iFrom, mValues.begin() + iTo);
    }
    void Insert(Cmn_Int64 iAt, const std::vector<int>& iValues, const Notes& iNotes)
    {
        const auto length = static_cast<Cmn_Int64>(iValues.size());
        MapNotes([&](const Note& iNote, std::vector<Note>& ioNotes) {
            const bool moves = iNote.mBegin >= iAt;
            ioNotes.push_back(
                {iNote.mBegin + (moves ? length : 0), iNote.mEnd + (moves || iNote.mEnd > iAt ? length : 0)});
        });
        for (const auto& [key, notes] : iNotes)
            for (const Note& note : notes)
                mNotes[key].push_back({note.mBegin + iAt, note.mEnd + iAt});
        mValues.insert(mValues.begin() + iAt, iValues.begin(), iValues.end());
    }
    void InsertCopy(Cmn_Int64 iAt, PlainSong iFrom, Cmn_Int64 iStart, Cmn_Int64 iEnd)
    {
        iFrom.MapNotes([&](const Note& iNote, std::vector<Note>& ioNotes) {
            if (iNote.mBegin >= iStart && iNote.mBegin < iEnd)
                ioNotes.push_back({iNote.mBegin - iStart, std::min(iNote.mEnd, iEnd) - iStart});
        });
        Insert(iAt, {iFrom.mValues.begin() + iStart, iFrom.mValues.begin() + iEnd}, iFrom.mNotes);
    }
    // As any reader of the file takes them: the first begun is the first ended.
    std::string Text() const
    {
        std::string text;
        for (const auto& [key, notes] : mNotes) {
            std::vector<Cmn_Int64> begins;
            std::vector<Cmn_Int64> ends;
            for (const Note& note : notes) {
                begins.push_back(note.mBegin);
                ends.push_back(note.mEnd);
            }
            std::sort(begins.begin(), begins.end());
            std::sort(ends.begin(), ends.end());
            for (std::size_t i = 0; i < notes.size(); ++i)
                text += std::to_string(key) + ": " + std::to_string(begins[i]) + " to " +
                        std::to_string(ends[i]) + '\n';
        }
        for (const int value : mValues)
            text += std::to_string(value) + ' ';
        return text;
    }
    void PairAnew()
    {
        for (auto& [key, notes] : mNotes) {
            std::sort(notes.begin(), notes.end(),
                      [](const Note& iA, const Note& iB) { return iA.mBegin < iB.mBegin; });
            std::vector<Cmn_Int64> ends;
            for (const Note& note : notes)
                ends.push_back(note.mEnd);
            std::sort(ends.begin(), ends.end());
            for (std::size_t i = 0; i < notes.size(); ++i)
                notes[i].mEnd = ends[i];
        }
    }

    Notes mNotes;
    std::vector<int> mValues;
};

// Reads a file back; a note that hangs, or an end without a note, is a failure.
PlainSong PlainOf(const SMF_File& iFile, Cmn_Int64 iLength)
{
    PlainSong song;
    std::map<int, std::size_t> ended;
    song.mValues.assign(static_cast<std::size_t>(iLength), -1);
    for (const SMF_Event& event : iFile.GetTracks()[0]) {
        if (event.IsEndOfTrack()) continue;
        if (event.mStatus == 0xB0) {
            std::fill(song.mValues.begin() + std::min(event.mTick, iLength), song.mValues.end(),
                      event.DataByte(1));
            continue;
        }
        auto& notes = song.mNotes[event.DataByte(0)];
        if (event.mStatus == 0x90)
            notes.push_back({event.mTick, -1});
        else if (std::size_t& next = ended[event.DataByte(0)]; next < notes.size())
            notes[next++].mEnd = event.mTick;
        else
            ADD_FAILURE() << "an end without a note at " << event.mTick;
    }
    return song;
}

SMF_File FileOf(const PlainSong& iSong)
{
    std::multimap<std::pair<Cmn_Int64, int>, std::string> events;
    for (const auto& [key, notes] : iSong.mNotes)
        for (const auto& note : notes) {
            events.insert({{note.mBegin, 2}, "90" + MidiBytes::BigEndian(key, 1)});
            events.insert(
                {{note.mEnd, note.mEnd > note.mBegin ? 0 : 3}, "80" + MidiBytes::BigEndian(key, 1)});
        }
    for (std::size_t i = 0; i < iSong.mValues.size(); ++i)
        if (i == 0 || iSong.mValues[i] != iSong.mValues[i - 1])
            events.insert(
                {{static_cast<Cmn_Int64>(i), 1}, "b0" + std::string(1, static_cast<char>(iSong.mValues[i]))});
    SMF_TrackBuilder builder;
    for (const auto& [place, event] : events) {
        const bool isNote = event[0] != 'b';
        builder.AppendChannel(place.first,
                              static_cast<Cmn_UInt8>(event[0] == '9' ? 0x90
                                                     : isNote        ? 0x80
                                                                     : 0xB0),
                              isNote ? static_cast<Cmn_UInt8>(event[2]) : Cmn_UInt8{91},
                              isNote ? Cmn_UInt8{64} : static_cast<Cmn_UInt8>(event[2]));
    }
    SMF_File file(cDivision);
    file.AddTrack(builder.Finish(iSong.Length()));
    return file;
}

class Script
{
public:
    explicit Script(unsigned iSeed)
        : mRandom(iSeed)
    {
        mSong.mValues.resize(40);
        for (int& value : mSong.mValues)
            value = Any(4) == 0 || &value == mSong.mValues.data() ? static_cast<int>(Any(100)) : (&value)[-1];
        for (Cmn_Int64 i = Any(12); i > 0; --i) {
            const Cmn_Int64 begin = Any(39);
            mSong.mNotes[static_cast<int>(60 + Any(2))].push_back(
                {begin, std::min<Cmn_Int64>(begin + Any(12), 39)});
        }
        mSong.PairAnew();
    }

    void Run()
    {
        SMF_TimeEdit edit(FileOf(mSong));
        for (int i = 0; i < 6 && !testing::Test::HasFailure(); ++i) {
            const std::string before = mSong.Text();
            const std::string done = Step(edit);
            mSong.PairAnew();
            const SMF_File file = edit.GetFile();
            EXPECT_EQ(PlainOf(file, mSong.Length()).Text(), mSong.Text()) << done << "\n" << before;
            EXPECT_EQ(SMF_File::Read(file.Write()).Write(), file.Write());
            EXPECT_EQ(edit.GetEndTick(), At(mSong.Length())) << done;
        }
    }

private:
    Cmn_Int64 Any(Cmn_Int64 iBelow)
    {
        return static_cast<Cmn_Int64>(mRandom() % static_cast<unsigned>(iBelow));
    }

    std::string Step(SMF_TimeEdit& ioEdit)
    {
        const Cmn_Int64 from = Any(mSong.Length() - 1),
                        to = from + 1 + Any(std::min<Cmn_Int64>(mSong.Length() - from - 1, 12));
        const std::string range = std::to_string(from) + " to " + std::to_string(to);
        const PlainSong old = mSong;
        const Cmn_Int64 kind = Any(4);
        if (kind == 0) {
            if (mSong.Length() - (to - from) < 3) return "nothing";
            ioEdit.DeleteTime(At(from), At(to));
            mSong.Delete(from, to);
            return "delete " + range;
        }
        if (kind == 1) {
            ioEdit.InsertTime(At(from), Ticks(to - from));
            const int value = mSong.mValues[static_cast<std::size_t>(from == 0 ? 0 : from - 1)];
            mSong.Insert(from, std::vector<int>(static_cast<std::size_t>(to - from), value), {});
            return "insert " + range;
        }
        if (kind == 2) {
            const Cmn_Int64 times = Any(3);
            ioEdit.RepeatTime(At(from), At(to), times);
            for (Cmn_Int64 i = 0; i < times; ++i)
                mSong.InsertCopy(to + i * (to - from), old, from, to);
            return "repeat " + range;
        }
        const Cmn_Int64 position = Any(mSong.Length());
        if (position >= from && position <= to) return "nothing";
        ioEdit.MoveTime(At(from), At(to), At(position));
        mSong.Delete(from, to);
        mSong.PairAnew();
        mSong.InsertCopy(position - (position > to ? to - from : 0), old, from, to);
        return "move " + range + " before " + std::to_string(position);
    }

    std::mt19937 mRandom;
    PlainSong mSong;
};

TEST(SMFTimeEdit, RandomScriptsDoToAFileWhatTheyDoToPlainLists)
{
    const AssertRecorder reports;
    for (unsigned seed = 0; seed < 1000 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Script(seed).Run();
    }
    EXPECT_EQ(reports.Take(), Lines());
}

TEST(SMFTimeEdit, InsertingAndDeletingAStretchIsTheIdentityOfEveryFile)
{
    const AssertRecorder reports;
    for (unsigned seed = 0; seed < 1000 && !HasFailure(); ++seed) {
        std::mt19937 random(seed);
        const SMF_File file = SMF_File::Read(RandomFile(seed).mBytes);
        SMF_TimeEdit edit(file);
        const Cmn_Int64 end = (edit.GetEndTick() - SMF_TimeMaps::cStartTick).AsInt64();
        const Time_Tick at =
            SMF_TimeMaps::cStartTick +
            Time_TickLength(seed % 4 == 0 ? 0 : static_cast<Cmn_Int64>(random()) % (end + 2));
        const Time_TickLength length(1 + static_cast<Cmn_Int64>(random() % 5000000));
        edit.InsertTime(at, length);
        static_cast<void>(SMF_File::Read(edit.GetFile().Write()));
        edit.DeleteTime(at, at + length);
        EXPECT_EQ(edit.GetFile().Write(), file.Write()) << "seed " << seed;
    }
    EXPECT_EQ(reports.Take(), Lines());
}

} // namespace
