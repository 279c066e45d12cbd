// Rulers: a view of a time line, and the lines and labels above it.
#include "Kora/C/C_Song_p.h"
#include "Kora/C/C_Time_p.h"
#include "Kora/C/Kora_CGrid.h"
#include "Kora/Time/Convert/Time_Ruler.h"

#include <cmath>
#include <string>

static_assert(KORA_AXIS_BARS == static_cast<int>(Time_PixelMapper::eAxis_Bars));

namespace {

constexpr double cMostPixels = 1000000;

bool HasRulers(int32_t iForm)
{
    return iForm == KORA_FORM_BARS || iForm == KORA_FORM_TIMECODE || iForm == KORA_FORM_MINSEC ||
           iForm == KORA_FORM_SAMPLES || iForm == KORA_FORM_FEET;
}

double DistanceOf(double iAsked, double iUsual)
{
    C_Require(iAsked >= 0 && iAsked <= cMostPixels,
              "a distance is not between 0 and 1000000"); // nor not a number
    return iAsked == 0 ? iUsual : iAsked;
}

Time_RulerDistances DistancesOf(const kora_ruler_options& iOptions)
{
    constexpr Time_RulerDistances cUsual;
    return {DistanceOf(iOptions.lines, cUsual.mLines), DistanceOf(iOptions.majors, cUsual.mMajors),
            DistanceOf(iOptions.label_gap, cUsual.mLabelGap)};
}

void RequirePixel(double iPixel) { C_Require(std::isfinite(iPixel), "a pixel is not finite"); }

void RequireScale(double iScale, const char* iText) { C_Require(iScale > 0 && std::isfinite(iScale), iText); }

void RequireWidth(double iWidth)
{
    C_Require(iWidth > 0 && iWidth <= cMostPixels, "width is not between 0 and 1000000");
}

} // namespace

struct kora_ruler : C_Handle
{
    static constexpr EKind cKind = eKind_Ruler;

    kora_ruler(kora_song& ioSong, const kora_ruler_options& iOptions, const Time_Typed& iLast,
               const Time_Ruler::Measure& iMeasure)
        : C_Handle(cKind, &C_Delete<kora_ruler>)
        , mSong(ioSong)
        , mMapper(ioSong.Get().GetConverter(), static_cast<Time_PixelMapper::EAxis>(iOptions.axis))
        , mRuler(ioSong.Get().GetConverter(), static_cast<Time_EForm>(iOptions.form), iLast, iMeasure,
                 DistancesOf(iOptions), C_Gauge(iOptions.film))
    {
    }

    C_Ref<kora_song> mSong;
    Time_PixelMapper mMapper;
    Time_Ruler mRuler;
};

kora_status kora_ruler_new(kora_song* song, const kora_ruler_options* options, kora_time last,
                           kora_measure measure, void* user, kora_ruler** out)
{
    return C_Guard([&] {
        kora_song& of = C_Get(song, "song");
        const kora_ruler_options& asked = C_Out(options, "options");
        C_Require(measure != nullptr, "measure is null", KORA_NULL_ARGUMENT);
        kora_ruler*& ruler = C_Out(out, "out");
        C_Require(asked.size >= sizeof(kora_ruler_options), "size is smaller than the struct");
        C_Require(HasRulers(asked.form), "the form has no rulers");
        C_Require(asked.axis == KORA_AXIS_TIME || asked.axis == KORA_AXIS_BARS, "no such axis");
        const auto widthOf = [&](std::string_view iText) {
            const double width = measure(user, std::string(iText).c_str(), iText.size());
            C_Require(width >= 0 && width <= cMostPixels, "a text's width is not between 0 and 1000000");
            return width;
        };
        const C_Ref<kora_song> kept(of); // whatever measure does
        const kora_song::StCallback callback(of);
        ruler = new kora_ruler(of, asked, C_TimeOf(last), widthOf);
    });
}

kora_status kora_ruler_show(kora_ruler* ruler, kora_time from, kora_time to, double width)
{
    return C_Guard([&] {
        Time_PixelMapper& mapper = C_Get(ruler, "ruler").mMapper;
        RequireWidth(width);
        const std::int64_t first = mapper.ToAxis(C_TimeOf(from)), end = mapper.ToAxis(C_TimeOf(to));
        C_Require(first < end, "the range is empty");
        mapper.Show(
            Time_Range(Time_Typed(first, mapper.GetAxisType()), Time_Typed(end, mapper.GetAxisType())),
            width);
    });
}

kora_status kora_ruler_set_units_per_pixel(kora_ruler* ruler, double units)
{
    return C_Guard([&] {
        Time_PixelMapper& mapper = C_Get(ruler, "ruler").mMapper;
        RequireScale(units, "units is not above 0 and finite");
        mapper.SetUnitsPerPixel(units);
    });
}

kora_status kora_ruler_zoom(kora_ruler* ruler, double pixel, double factor)
{
    return C_Guard([&] {
        Time_PixelMapper& mapper = C_Get(ruler, "ruler").mMapper;
        RequirePixel(pixel);
        RequireScale(factor, "factor is not above 0 and finite");
        RequireScale(mapper.GetUnitsPerPixel() / factor, "the zoom ends there");
        mapper.ZoomAbout(pixel, factor);
    });
}

kora_status kora_ruler_scroll_to(kora_ruler* ruler, kora_time time, double pixel)
{
    return C_Guard([&] {
        Time_PixelMapper& mapper = C_Get(ruler, "ruler").mMapper;
        RequirePixel(pixel);
        mapper.ScrollTo(C_TimeOf(time), pixel);
    });
}

kora_status kora_ruler_scroll_by(kora_ruler* ruler, int64_t pixels)
{
    return C_Guard([&] { C_Get(ruler, "ruler").mMapper.ScrollBy(pixels); });
}

kora_status kora_ruler_to_pixel(kora_ruler* ruler, kora_time time, double* out)
{
    return C_Guard([&] {
        const Time_PixelMapper& mapper = C_Get(ruler, "ruler").mMapper;
        C_Out(out, "out") = mapper.ToPixel(C_TimeOf(time));
    });
}

kora_status kora_ruler_to_time(kora_ruler* ruler, double pixel, uint32_t unit, kora_time* out)
{
    return C_Guard([&] {
        const Time_PixelMapper& mapper = C_Get(ruler, "ruler").mMapper;
        kora_time& time = C_Out(out, "out");
        RequirePixel(pixel);
        time = C_TimeOf(mapper.ToTime(pixel, C_Unit(unit)));
    });
}

kora_status kora_ruler_draw(kora_ruler* ruler, double width, kora_ruler_take take, void* user)
{
    return C_Guard([&] {
        kora_ruler& of = C_Get(ruler, "ruler");
        C_Require(take != nullptr, "take is null", KORA_NULL_ARGUMENT);
        RequireWidth(width);
        const C_Ref<kora_ruler> kept(of); // whatever take does
        const kora_song::StCallback callback(*of.mSong);
        const Time_PixelMapper mapper = of.mMapper;
        of.mRuler.Draw(mapper, width, [&](const Time_RulerLine& iLine) {
            const kora_ruler_line line{iLine.mPixel, C_TimeOf(iLine.mTime), iLine.mLabel.c_str(),
                                       static_cast<std::uint32_t>(iLine.mLabel.size()),
                                       iLine.mIsMajor ? 1 : 0};
            take(user, &line);
        });
    });
}
