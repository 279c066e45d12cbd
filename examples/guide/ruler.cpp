// A ruler above a time line: bars and minutes over the same 72 columns, zoomed and scrolled.
#include "Kora/Kora_InitScope.h"
#include "Kora/Time.h"

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace {

constexpr std::size_t cWidth = 72; // a pixel is a column here

//! [song]
// 4/4 at 120; from bar 3 on 3/4, from bar 5 on at 60.
void FillSong(Time_MeterMap& ioMeters, Time_TempoMap& ioTempos)
{
    ioMeters.MakeRealIfDefault();
    ioMeters.AddMeterChange(ioMeters.BarBeatToTick({3, 1, {}}), Time_Meter(3, 4));

    const Time_TempoMap_StEditOptimizer edit(ioTempos); // one rebuild for both
    auto first = std::make_unique<Time_ConstantTempoSeg>(ioMeters.GetSongStartTick(), 120.0);
    first->LockToSample(Time_Sample(0)); // bar 1 is at sample 0
    ioTempos.AddSegment(std::move(first));
    ioTempos.AddSegment(std::make_unique<Time_ConstantTempoSeg>(ioMeters.BarBeatToTick({5, 1, {}}), 60.0));
}
//! [song]

//! [draw]
void Draw(const Time_Ruler& iRuler, const Time_PixelMapper& iMapper)
{
    std::string lines(cWidth, ' ');
    std::string labels(cWidth, ' ');
    iRuler.Draw(iMapper, cWidth, [&](const Time_RulerLine& iLine) {
        if (iLine.mPixel < 0) return; // a label that reaches in from the left
        const auto column = static_cast<std::size_t>(iLine.mPixel);
        lines[column] = iLine.mIsMajor ? '|' : '.';
        if (column + iLine.mLabel.size() <= cWidth) labels.replace(column, iLine.mLabel.size(), iLine.mLabel);
    });
    for (std::string* const text : {&labels, &lines}) {
        text->erase(text->find_last_not_of(' ') + 1);
        std::printf("%s\n", text->c_str());
    }
}
//! [draw]

} // namespace

int main()
{
    const Kora_InitScope kora;
    Time_Globals::SetSampleRate(48000);
    Time_MeterMap meters;
    Time_TempoMap tempos;
    FillSong(meters, tempos);
    Time_Converter converter;
    converter.SetMeterMap(&meters);
    converter.SetTempoMap(&tempos);

    //! [rulers]
    const Time_Typed end = converter.ToType(Time_BarBeatTick(9, 1, {}), Time_eType_Samples);
    const Time_Ruler::Measure measure = [](std::string_view iText) {
        return static_cast<double>(iText.size());
    };
    const Time_RulerDistances distances{2, 6, 2}; // lines, major lines, behind a label: in columns
    const Time_Ruler bars(converter, Time_eForm_Bars, end, measure, distances);
    const Time_Ruler minutes(converter, Time_eForm_MinSec, end, measure, distances);
    //! [rulers]

    //! [views]
    Time_PixelMapper mapper(converter, Time_PixelMapper::eAxis_Time);
    mapper.Show(Time_Range(Time_Typed(0, Time_eType_Samples), end), cWidth);
    std::puts("the whole song: a second is as wide everywhere");
    Draw(bars, mapper);
    Draw(minutes, mapper);

    mapper.ZoomAbout(converter.ToType(Time_BarBeatTick(5, 1, {}), Time_eType_Samples), 4);
    std::puts("\nfour times closer about bar 5, which stays where it is");
    Draw(bars, mapper);
    Draw(minutes, mapper);

    const Time_Typed clicked = mapper.ToTime(10, Time_eType_Samples);
    std::printf("\na click on column 10 is at sample %s, %s\n", clicked.AsSample().ToString().c_str(),
                converter.ToBarBeatTick(clicked).ToString(true, false).c_str());
    const Time_GridLine snapped = meters.FindGridLine(converter.ToTick(clicked), Time_GridDivision::Beats());
    std::printf("and snaps to %s\n", snapped.mPosition.ToString(true, false).c_str());
    //! [views]
    return 0;
}
