#include "Kora/C/C_Song_p.h"
#include "Kora/C/C_Time_p.h"
#include "Kora/Time/Convert/Time_Format.h"

#include <cstring>

static_assert(KORA_FORM_FEET == static_cast<int>(Time_eForm_Feet) &&
              KORA_FORM_BARS == static_cast<int>(Time_eForm_Bars));
static_assert(KORA_FILM_35MM == static_cast<int>(Time_eFilmGauge_35mm) &&
              KORA_FILM_16MM == static_cast<int>(Time_eFilmGauge_16mm));

struct kora_format : C_Handle
{
    static constexpr EKind cKind = eKind_Format;

    kora_format(kora_song& ioSong, Time_EFilmGauge iGauge)
        : C_Handle(cKind, &C_Delete<kora_format>)
        , mSong(ioSong)
        , mFormat(ioSong.Get().GetConverter())
    {
        mFormat.SetFilmGauge(iGauge);
    }

    C_Ref<kora_song> mSong;
    Time_Format mFormat;
};

namespace {

Time_EForm FormOf(int32_t iForm)
{
    C_Require(iForm >= KORA_FORM_SAMPLES && iForm <= KORA_FORM_FEET, "no such form");
    return static_cast<Time_EForm>(iForm);
}

} // namespace

Time_EFilmGauge C_Gauge(std::int32_t iFilm)
{
    C_Require(iFilm == KORA_FILM_35MM || iFilm == KORA_FILM_16MM, "no such film");
    return static_cast<Time_EFilmGauge>(iFilm);
}

kora_status kora_format_new(kora_song* song, int32_t film, kora_format** out)
{
    return C_Guard([&] {
        kora_song& of = C_Get(song, "song");
        kora_format*& format = C_Out(out, "out");
        format = new kora_format(of, C_Gauge(film));
    });
}

kora_status kora_format_write(kora_format* format, int32_t form, kora_time time, char* buffer,
                              size_t capacity, size_t* size)
{
    return C_Guard([&] {
        const Time_Format& of = C_Get(format, "format").mFormat;
        const Time_EForm as = FormOf(form);
        C_Out(buffer, "buffer");
        char text[Time_Format::cTextBytes];
        const std::size_t length = of.ToText(as, C_TimeOf(time), text);
        if (size != nullptr) *size = length;
        C_Require(capacity > length, "the buffer is too small", KORA_TOO_SMALL);
        std::memcpy(buffer, text, length + 1);
    });
}

kora_status kora_format_read(kora_format* format, int32_t form, const char* text, kora_time* out)
{
    return C_Guard([&] {
        const Time_Format& of = C_Get(format, "format").mFormat;
        const Time_EForm as = FormOf(form);
        C_Out(text, "text");
        kora_time& result = C_Out(out, "out");
        Time_Typed time;
        const char* whyNot = "no time";
        const bool isTime = of.FromText(as, text, time, &whyNot); // first: it says why not
        C_Require(isTime, whyNot, KORA_REFUSED);
        result = C_TimeOf(time);
    });
}
