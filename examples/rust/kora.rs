
// Made by scripts/rust-bindings from Kora/C/Kora_C.h.

pub const KORA_C_VERSION_MAJOR: u32 = 0;
pub const KORA_C_VERSION_MINOR: u32 = 1;
pub const KORA_TICKS_PER_QUARTER: u32 = 960000;
pub type __uint8_t = ::std::os::raw::c_uchar;
pub type __int32_t = ::std::os::raw::c_int;
pub type __uint32_t = ::std::os::raw::c_uint;
pub type __int64_t = ::std::os::raw::c_long;
extern "C" {
    pub fn kora_c_version() -> u32;
}
extern "C" {
    pub fn kora_version() -> *const ::std::os::raw::c_char;
}
pub type kora_status = i32;
pub const KORA_OK: _bindgen_ty_1 = 0;
pub const KORA_NULL_ARGUMENT: _bindgen_ty_1 = 1;
pub const KORA_WRONG_HANDLE: _bindgen_ty_1 = 2;
pub const KORA_BAD_ARGUMENT: _bindgen_ty_1 = 3;
pub const KORA_NOT_STARTED: _bindgen_ty_1 = 4;
pub const KORA_NOT_FOUND: _bindgen_ty_1 = 5;
pub const KORA_TOO_SMALL: _bindgen_ty_1 = 6;
pub const KORA_REFUSED: _bindgen_ty_1 = 7;
pub const KORA_BAD_FILE: _bindgen_ty_1 = 8;
pub const KORA_SYSTEM: _bindgen_ty_1 = 9;
pub const KORA_NO_MEMORY: _bindgen_ty_1 = 10;
pub const KORA_BUSY: _bindgen_ty_1 = 11;
pub const KORA_INTERNAL: _bindgen_ty_1 = 12;
pub const KORA_FULL: _bindgen_ty_1 = 13;
pub type _bindgen_ty_1 = ::std::os::raw::c_uint;
extern "C" {
    pub fn kora_init() -> kora_status;
}
extern "C" {
    pub fn kora_free() -> kora_status;
}
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_error {
    pub size: u32,
    pub status: kora_status,
    pub offset: i64,
    pub text: *const ::std::os::raw::c_char,
    pub file: *const ::std::os::raw::c_char,
}
extern "C" {
    pub fn kora_last_error(out: *mut kora_error) -> kora_status;
}
extern "C" {
    pub fn kora_last_error_text() -> *const ::std::os::raw::c_char;
}
extern "C" {
    pub fn kora_status_name(status: kora_status) -> *const ::std::os::raw::c_char;
}
pub type kora_assert_handler = ::std::option::Option<
    unsafe extern "C" fn(
        user: *mut ::std::os::raw::c_void,
        text: *const ::std::os::raw::c_char,
        line: i32,
    ),
>;
extern "C" {
    pub fn kora_set_assert_handler(
        handler: kora_assert_handler,
        user: *mut ::std::os::raw::c_void,
    ) -> kora_status;
}
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_song {
    _unused: [u8; 0],
}
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_tempo_map {
    _unused: [u8; 0],
}
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_meter_map {
    _unused: [u8; 0],
}
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_key_map {
    _unused: [u8; 0],
}
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_history {
    _unused: [u8; 0],
}
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_format {
    _unused: [u8; 0],
}
extern "C" {
    pub fn kora_retain(handle: *mut ::std::os::raw::c_void) -> kora_status;
}
extern "C" {
    pub fn kora_release(handle: *mut ::std::os::raw::c_void) -> kora_status;
}
pub const KORA_SAMPLES: _bindgen_ty_2 = 0;
pub const KORA_TICKS: _bindgen_ty_2 = 1;
pub const KORA_FRAMES: _bindgen_ty_2 = 2;
pub type _bindgen_ty_2 = ::std::os::raw::c_uint;
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_time {
    pub count: i64,
    pub unit: u32,
    pub reserved: u32,
}
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_bar_position {
    pub bar: i32,
    pub beat: i32,
    pub ticks: i64,
}
pub const KORA_TEMPO_LOCKED: _bindgen_ty_3 = 1;
pub const KORA_TEMPO_SONG_START: _bindgen_ty_3 = 2;
pub const KORA_TEMPO_COMPUTED: _bindgen_ty_3 = 4;
pub type _bindgen_ty_3 = ::std::os::raw::c_uint;
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_tempo {
    pub tick: i64,
    pub beats_per_minute: f64,
    pub ticks_per_beat: i64,
    pub locked_sample: i64,
    pub flags: u32,
    pub reserved: u32,
}
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_meter {
    pub tick: i64,
    pub numerator: i32,
    pub denominator: i32,
    pub bar: i32,
    pub is_off_barline: i32,
}
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_key {
    pub tick: i64,
    pub is_major: u8,
    pub is_sharps: u8,
    pub accidentals: u8,
    pub reserved: [u8; 5usize],
}
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_document {
    _unused: [u8; 0],
}
extern "C" {
    pub fn kora_document_open(
        path: *const ::std::os::raw::c_char,
        out: *mut *mut kora_document,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_document_read_bytes(
        bytes: *const ::std::os::raw::c_void,
        size: usize,
        out: *mut *mut kora_document,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_document_create(
        path: *const ::std::os::raw::c_char,
        out: *mut *mut kora_document,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_document_create_in_memory(out: *mut *mut kora_document) -> kora_status;
}
extern "C" {
    pub fn kora_document_commit(document: *mut kora_document) -> kora_status;
}
extern "C" {
    pub fn kora_document_get_bytes(
        document: *mut kora_document,
        buffer: *mut ::std::os::raw::c_void,
        capacity: usize,
        size: *mut usize,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_document_begin(
        document: *mut kora_document,
        type_: i32,
        version: i32,
        description: *const ::std::os::raw::c_char,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_document_begin_list(
        document: *mut kora_document,
        type_: i32,
        version: i32,
        description: *const ::std::os::raw::c_char,
        count: i32,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_document_begin_item(
        document: *mut kora_document,
        description: *const ::std::os::raw::c_char,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_document_end(document: *mut kora_document) -> kora_status;
}
pub const KORA_UINT8: _bindgen_ty_4 = 0;
pub const KORA_INT16: _bindgen_ty_4 = 1;
pub const KORA_UINT16: _bindgen_ty_4 = 2;
pub const KORA_INT32: _bindgen_ty_4 = 3;
pub const KORA_UINT32: _bindgen_ty_4 = 4;
pub const KORA_INT64: _bindgen_ty_4 = 5;
pub const KORA_FLOAT64: _bindgen_ty_4 = 6;
pub type _bindgen_ty_4 = ::std::os::raw::c_uint;
extern "C" {
    pub fn kora_document_write(
        document: *mut kora_document,
        kind: i32,
        values: *const ::std::os::raw::c_void,
        count: usize,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_document_write_text(
        document: *mut kora_document,
        text: *const ::std::os::raw::c_char,
    ) -> kora_status;
}
pub const KORA_NO_ITEM: _bindgen_ty_5 = -1;
pub type _bindgen_ty_5 = ::std::os::raw::c_int;
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_step {
    pub type_: i32,
    pub item: i32,
}
extern "C" {
    pub fn kora_document_enter(
        document: *mut kora_document,
        steps: *const kora_step,
        depth: usize,
        version: *mut i32,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_document_enter_next(
        document: *mut kora_document,
        type_: i32,
        version: *mut i32,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_document_next_type(document: *mut kora_document, out: *mut i32) -> kora_status;
}
extern "C" {
    pub fn kora_document_enter_list(document: *mut kora_document, count: *mut i32) -> kora_status;
}
extern "C" {
    pub fn kora_document_go_to_item(document: *mut kora_document, item: i32) -> kora_status;
}
extern "C" {
    pub fn kora_document_leave(document: *mut kora_document) -> kora_status;
}
extern "C" {
    pub fn kora_document_read(
        document: *mut kora_document,
        kind: i32,
        values: *mut ::std::os::raw::c_void,
        count: usize,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_document_read_text(
        document: *mut kora_document,
        buffer: *mut ::std::os::raw::c_char,
        capacity: usize,
        size: *mut usize,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_document_bytes_left(document: *mut kora_document, out: *mut i64) -> kora_status;
}
extern "C" {
    pub fn kora_document_key_count(document: *mut kora_document, out: *mut usize) -> kora_status;
}
extern "C" {
    pub fn kora_document_get_key(
        document: *mut kora_document,
        index: usize,
        steps: *mut kora_step,
        capacity: usize,
        depth: *mut usize,
        items: *mut i32,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_document_get_description(
        document: *mut kora_document,
        index: usize,
        item: i32,
        buffer: *mut ::std::os::raw::c_char,
        capacity: usize,
        size: *mut usize,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_song_read_document(
        document: *mut kora_document,
        out: *mut *mut kora_song,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_song_write_document(
        song: *mut kora_song,
        document: *mut kora_document,
    ) -> kora_status;
}
pub type kora_fault_handler = ::std::option::Option<
    unsafe extern "C" fn(
        user: *mut ::std::os::raw::c_void,
        offset: i64,
        text: *const ::std::os::raw::c_char,
    ),
>;
extern "C" {
    pub fn kora_document_check(
        path: *const ::std::os::raw::c_char,
        handler: kora_fault_handler,
        user: *mut ::std::os::raw::c_void,
        faults: *mut usize,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_document_repair(
        from: *const ::std::os::raw::c_char,
        to: *const ::std::os::raw::c_char,
        handler: kora_fault_handler,
        user: *mut ::std::os::raw::c_void,
        recovered: *mut usize,
    ) -> kora_status;
}
pub const KORA_TIMECODE_24: _bindgen_ty_6 = 1;
pub const KORA_TIMECODE_25: _bindgen_ty_6 = 2;
pub const KORA_TIMECODE_29_97: _bindgen_ty_6 = 3;
pub const KORA_TIMECODE_29_97_DROP: _bindgen_ty_6 = 5;
pub const KORA_TIMECODE_30: _bindgen_ty_6 = 7;
pub const KORA_TIMECODE_30_DROP: _bindgen_ty_6 = 8;
pub const KORA_TIMECODE_23_976: _bindgen_ty_6 = 9;
pub const KORA_TIMECODE_50: _bindgen_ty_6 = 10;
pub const KORA_TIMECODE_59_94: _bindgen_ty_6 = 11;
pub const KORA_TIMECODE_59_94_DROP: _bindgen_ty_6 = 12;
pub const KORA_TIMECODE_60: _bindgen_ty_6 = 13;
pub const KORA_TIMECODE_60_DROP: _bindgen_ty_6 = 14;
pub type _bindgen_ty_6 = ::std::os::raw::c_uint;
extern "C" {
    pub fn kora_set_session(sample_rate: f64, timecode_format: i32) -> kora_status;
}
extern "C" {
    pub fn kora_song_new(out: *mut *mut kora_song) -> kora_status;
}
extern "C" {
    pub fn kora_song_open(
        path: *const ::std::os::raw::c_char,
        out: *mut *mut kora_song,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_song_read_bytes(
        bytes: *const ::std::os::raw::c_void,
        size: usize,
        out: *mut *mut kora_song,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_song_save(song: *mut kora_song, path: *const ::std::os::raw::c_char)
        -> kora_status;
}
extern "C" {
    pub fn kora_song_write_midi(
        song: *mut kora_song,
        buffer: *mut ::std::os::raw::c_void,
        capacity: usize,
        size: *mut usize,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_song_export(
        song: *mut kora_song,
        path: *const ::std::os::raw::c_char,
    ) -> kora_status;
}
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_song_info {
    pub size: u32,
    pub timecode_format: i32,
    pub sample_rate: f64,
    pub start_tick: i64,
    pub end_tick: i64,
}
extern "C" {
    pub fn kora_song_get_info(song: *mut kora_song, out: *mut kora_song_info) -> kora_status;
}
pub const KORA_CHANGED_TEMPI: _bindgen_ty_7 = 1;
pub const KORA_CHANGED_METERS: _bindgen_ty_7 = 2;
pub const KORA_CHANGED_KEYS: _bindgen_ty_7 = 4;
pub type _bindgen_ty_7 = ::std::os::raw::c_uint;
pub type kora_song_listener = ::std::option::Option<
    unsafe extern "C" fn(user: *mut ::std::os::raw::c_void, song: *mut kora_song, what: u32),
>;
extern "C" {
    pub fn kora_song_set_listener(
        song: *mut kora_song,
        listener: kora_song_listener,
        user: *mut ::std::os::raw::c_void,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_song_get_tempo_map(
        song: *mut kora_song,
        out: *mut *mut kora_tempo_map,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_song_get_meter_map(
        song: *mut kora_song,
        out: *mut *mut kora_meter_map,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_song_get_key_map(song: *mut kora_song, out: *mut *mut kora_key_map) -> kora_status;
}
extern "C" {
    pub fn kora_tempo_map_count(map: *mut kora_tempo_map, out: *mut usize) -> kora_status;
}
extern "C" {
    pub fn kora_tempo_map_get(
        map: *mut kora_tempo_map,
        index: usize,
        out: *mut kora_tempo,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_tempo_map_find(
        map: *mut kora_tempo_map,
        tick: i64,
        out: *mut kora_tempo,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_tempo_map_remove(map: *mut kora_tempo_map, tick: i64) -> kora_status;
}
extern "C" {
    pub fn kora_tempo_map_clear(map: *mut kora_tempo_map, from: i64, to: i64) -> kora_status;
}
extern "C" {
    pub fn kora_meter_map_count(map: *mut kora_meter_map, out: *mut usize) -> kora_status;
}
extern "C" {
    pub fn kora_meter_map_get(
        map: *mut kora_meter_map,
        index: usize,
        out: *mut kora_meter,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_meter_map_find(
        map: *mut kora_meter_map,
        tick: i64,
        out: *mut kora_meter,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_meter_map_set(
        map: *mut kora_meter_map,
        tick: i64,
        numerator: i32,
        denominator: i32,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_meter_map_remove(map: *mut kora_meter_map, tick: i64) -> kora_status;
}
extern "C" {
    pub fn kora_meter_map_clear(map: *mut kora_meter_map, from: i64, to: i64) -> kora_status;
}
extern "C" {
    pub fn kora_key_map_count(map: *mut kora_key_map, out: *mut usize) -> kora_status;
}
extern "C" {
    pub fn kora_key_map_get(
        map: *mut kora_key_map,
        index: usize,
        out: *mut kora_key,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_key_map_find(map: *mut kora_key_map, tick: i64, out: *mut kora_key) -> kora_status;
}
extern "C" {
    pub fn kora_key_map_set(map: *mut kora_key_map, key: *const kora_key) -> kora_status;
}
extern "C" {
    pub fn kora_key_map_remove(map: *mut kora_key_map, tick: i64) -> kora_status;
}
extern "C" {
    pub fn kora_key_map_clear(map: *mut kora_key_map, from: i64, to: i64) -> kora_status;
}
extern "C" {
    pub fn kora_convert(
        song: *mut kora_song,
        time: kora_time,
        unit: u32,
        out: *mut kora_time,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_to_bars(
        song: *mut kora_song,
        time: kora_time,
        out: *mut kora_bar_position,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_from_bars(
        song: *mut kora_song,
        position: kora_bar_position,
        unit: u32,
        out: *mut kora_time,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_convert_all(
        song: *mut kora_song,
        from_unit: u32,
        in_: *const ::std::os::raw::c_void,
        in_stride: isize,
        to_unit: u32,
        out: *mut ::std::os::raw::c_void,
        out_stride: isize,
        count: usize,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_to_bars_all(
        song: *mut kora_song,
        from_unit: u32,
        in_: *const ::std::os::raw::c_void,
        in_stride: isize,
        out: *mut ::std::os::raw::c_void,
        out_stride: isize,
        count: usize,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_from_bars_all(
        song: *mut kora_song,
        in_: *const ::std::os::raw::c_void,
        in_stride: isize,
        to_unit: u32,
        out: *mut ::std::os::raw::c_void,
        out_stride: isize,
        count: usize,
    ) -> kora_status;
}
pub const KORA_FORM_SAMPLES: _bindgen_ty_8 = 0;
pub const KORA_FORM_TICKS: _bindgen_ty_8 = 1;
pub const KORA_FORM_FRAMES: _bindgen_ty_8 = 2;
pub const KORA_FORM_BARS: _bindgen_ty_8 = 3;
pub const KORA_FORM_BARS_EXACT: _bindgen_ty_8 = 4;
pub const KORA_FORM_TIMECODE: _bindgen_ty_8 = 5;
pub const KORA_FORM_SUBFRAMES: _bindgen_ty_8 = 6;
pub const KORA_FORM_MINSEC: _bindgen_ty_8 = 7;
pub const KORA_FORM_FEET: _bindgen_ty_8 = 8;
pub type _bindgen_ty_8 = ::std::os::raw::c_uint;
pub const KORA_FILM_35MM: _bindgen_ty_9 = 16;
pub const KORA_FILM_16MM: _bindgen_ty_9 = 40;
pub type _bindgen_ty_9 = ::std::os::raw::c_uint;
extern "C" {
    pub fn kora_format_new(
        song: *mut kora_song,
        film: i32,
        out: *mut *mut kora_format,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_format_write(
        format: *mut kora_format,
        form: i32,
        time: kora_time,
        buffer: *mut ::std::os::raw::c_char,
        capacity: usize,
        size: *mut usize,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_format_read(
        format: *mut kora_format,
        form: i32,
        text: *const ::std::os::raw::c_char,
        out: *mut kora_time,
    ) -> kora_status;
}
pub const KORA_EDIT_DONE: _bindgen_ty_10 = 0;
pub const KORA_EDIT_EMPTY_RANGE: _bindgen_ty_10 = 1;
pub const KORA_EDIT_OUT_OF_LIMITS: _bindgen_ty_10 = 2;
pub const KORA_EDIT_LOCKED: _bindgen_ty_10 = 3;
pub const KORA_EDIT_BEFORE_SONG_START: _bindgen_ty_10 = 4;
pub const KORA_EDIT_LOCK_ORDER: _bindgen_ty_10 = 5;
pub const KORA_EDIT_NO_LOCK: _bindgen_ty_10 = 6;
pub const KORA_EDIT_TOO_MANY_STEPS: _bindgen_ty_10 = 7;
pub const KORA_EDIT_INSIDE_RANGE: _bindgen_ty_10 = 8;
pub const KORA_EDIT_NO_SUCH_BEAT: _bindgen_ty_10 = 9;
pub type _bindgen_ty_10 = ::std::os::raw::c_uint;
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_edit_result {
    pub size: u32,
    pub reason: i32,
    pub nearest: f64,
}
extern "C" {
    pub fn kora_tempo_map_set(
        map: *mut kora_tempo_map,
        tick: i64,
        beats_per_minute: f64,
        ticks_per_beat: i64,
        result: *mut kora_edit_result,
    ) -> kora_status;
}
pub const KORA_CURVE_BARS: _bindgen_ty_11 = 0;
pub const KORA_CURVE_LINEAR: _bindgen_ty_11 = 1;
pub const KORA_CURVE_S: _bindgen_ty_11 = 2;
pub type _bindgen_ty_11 = ::std::os::raw::c_uint;
extern "C" {
    pub fn kora_tempo_map_ramp(
        map: *mut kora_tempo_map,
        from: i64,
        to: i64,
        start_beats_per_minute: f64,
        end_beats_per_minute: f64,
        curve: i32,
        steps: usize,
        result: *mut kora_edit_result,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_tempo_map_scale(
        map: *mut kora_tempo_map,
        from: i64,
        to: i64,
        factor: f64,
        result: *mut kora_edit_result,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_tempo_map_offset(
        map: *mut kora_tempo_map,
        from: i64,
        to: i64,
        beats_per_minute: f64,
        result: *mut kora_edit_result,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_tempo_map_fit(
        map: *mut kora_tempo_map,
        from: i64,
        to: i64,
        samples: i64,
        result: *mut kora_edit_result,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_tempo_map_lock(
        map: *mut kora_tempo_map,
        tick: i64,
        sample: i64,
        result: *mut kora_edit_result,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_tempo_map_unlock(
        map: *mut kora_tempo_map,
        tick: i64,
        result: *mut kora_edit_result,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_song_insert_time(
        song: *mut kora_song,
        at: i64,
        ticks: i64,
        result: *mut kora_edit_result,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_song_delete_time(
        song: *mut kora_song,
        from: i64,
        to: i64,
        result: *mut kora_edit_result,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_song_repeat_time(
        song: *mut kora_song,
        from: i64,
        to: i64,
        count: usize,
        result: *mut kora_edit_result,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_song_move_time(
        song: *mut kora_song,
        from: i64,
        to: i64,
        position: i64,
        result: *mut kora_edit_result,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_history_new(song: *mut kora_song, out: *mut *mut kora_history) -> kora_status;
}
extern "C" {
    pub fn kora_history_begin(history: *mut kora_history) -> kora_status;
}
extern "C" {
    pub fn kora_history_end(
        history: *mut kora_history,
        name: *const ::std::os::raw::c_char,
        merge_id: i64,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_history_cancel(history: *mut kora_history) -> kora_status;
}
extern "C" {
    pub fn kora_history_undo(history: *mut kora_history) -> kora_status;
}
extern "C" {
    pub fn kora_history_redo(history: *mut kora_history) -> kora_status;
}
extern "C" {
    pub fn kora_history_count(
        history: *mut kora_history,
        steps: *mut usize,
        position: *mut usize,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_history_step_name(
        history: *mut kora_history,
        step: usize,
        buffer: *mut ::std::os::raw::c_char,
        capacity: usize,
        size: *mut usize,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_history_mark_saved(history: *mut kora_history) -> kora_status;
}
extern "C" {
    pub fn kora_history_is_saved(history: *mut kora_history, out: *mut i32) -> kora_status;
}
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_grid {
    _unused: [u8; 0],
}
pub const KORA_LINE_BAR: _bindgen_ty_12 = 0;
pub const KORA_LINE_BEAT: _bindgen_ty_12 = 1;
pub const KORA_LINE_SUB: _bindgen_ty_12 = 2;
pub const KORA_LINE_FINE: _bindgen_ty_12 = 3;
pub const KORA_LINE_FOOT: _bindgen_ty_12 = 4;
pub const KORA_LINE_SECOND: _bindgen_ty_12 = 5;
pub const KORA_LINE_MINUTE: _bindgen_ty_12 = 6;
pub const KORA_LINE_HOUR: _bindgen_ty_12 = 7;
pub type _bindgen_ty_12 = ::std::os::raw::c_uint;
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_grid_line {
    pub tick: i64,
    pub sample: i64,
    pub count: i64,
    pub position: kora_bar_position,
    pub kind: i32,
    pub reserved: u32,
}
extern "C" {
    pub fn kora_grid_new(
        song: *mut kora_song,
        division: *const ::std::os::raw::c_char,
        swing: i32,
        out: *mut *mut kora_grid,
    ) -> kora_status;
}
pub const KORA_CLOCK_SAMPLES: _bindgen_ty_13 = 0;
pub const KORA_CLOCK_MILLISECONDS: _bindgen_ty_13 = 1;
pub const KORA_CLOCK_TIMECODE: _bindgen_ty_13 = 2;
pub const KORA_CLOCK_FILM: _bindgen_ty_13 = 3;
pub type _bindgen_ty_13 = ::std::os::raw::c_uint;
extern "C" {
    pub fn kora_grid_new_by_clock(
        song: *mut kora_song,
        unit: i32,
        step: i64,
        film: i32,
        out: *mut *mut kora_grid,
    ) -> kora_status;
}
pub const KORA_SEARCH_BEFORE: _bindgen_ty_14 = 0;
pub const KORA_SEARCH_AT_OR_BEFORE: _bindgen_ty_14 = 1;
pub const KORA_SEARCH_NEAREST: _bindgen_ty_14 = 2;
pub const KORA_SEARCH_AT_OR_AFTER: _bindgen_ty_14 = 3;
pub const KORA_SEARCH_AFTER: _bindgen_ty_14 = 4;
pub type _bindgen_ty_14 = ::std::os::raw::c_uint;
extern "C" {
    pub fn kora_grid_find(
        grid: *mut kora_grid,
        at: kora_time,
        search: i32,
        out: *mut kora_grid_line,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_grid_lines(
        grid: *mut kora_grid,
        from: kora_time,
        to: kora_time,
        lines: *mut kora_grid_line,
        capacity: usize,
        count: *mut usize,
    ) -> kora_status;
}
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_ruler {
    _unused: [u8; 0],
}
pub const KORA_AXIS_TIME: _bindgen_ty_15 = 0;
pub const KORA_AXIS_BARS: _bindgen_ty_15 = 1;
pub type _bindgen_ty_15 = ::std::os::raw::c_uint;
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_ruler_options {
    pub size: u32,
    pub form: i32,
    pub film: i32,
    pub axis: i32,
    pub lines: f64,
    pub majors: f64,
    pub label_gap: f64,
}
pub type kora_measure = ::std::option::Option<
    unsafe extern "C" fn(
        user: *mut ::std::os::raw::c_void,
        text: *const ::std::os::raw::c_char,
        size: usize,
    ) -> f64,
>;
extern "C" {
    pub fn kora_ruler_new(
        song: *mut kora_song,
        options: *const kora_ruler_options,
        last: kora_time,
        measure: kora_measure,
        user: *mut ::std::os::raw::c_void,
        out: *mut *mut kora_ruler,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_ruler_show(
        ruler: *mut kora_ruler,
        from: kora_time,
        to: kora_time,
        width: f64,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_ruler_set_units_per_pixel(ruler: *mut kora_ruler, units: f64) -> kora_status;
}
extern "C" {
    pub fn kora_ruler_zoom(ruler: *mut kora_ruler, pixel: f64, factor: f64) -> kora_status;
}
extern "C" {
    pub fn kora_ruler_scroll_to(ruler: *mut kora_ruler, time: kora_time, pixel: f64)
        -> kora_status;
}
extern "C" {
    pub fn kora_ruler_scroll_by(ruler: *mut kora_ruler, pixels: i64) -> kora_status;
}
extern "C" {
    pub fn kora_ruler_to_pixel(
        ruler: *mut kora_ruler,
        time: kora_time,
        out: *mut f64,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_ruler_to_time(
        ruler: *mut kora_ruler,
        pixel: f64,
        unit: u32,
        out: *mut kora_time,
    ) -> kora_status;
}
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_ruler_line {
    pub pixel: i64,
    pub time: kora_time,
    pub label: *const ::std::os::raw::c_char,
    pub label_size: u32,
    pub is_major: i32,
}
pub type kora_ruler_take = ::std::option::Option<
    unsafe extern "C" fn(user: *mut ::std::os::raw::c_void, line: *const kora_ruler_line),
>;
extern "C" {
    pub fn kora_ruler_draw(
        ruler: *mut kora_ruler,
        width: f64,
        take: kora_ruler_take,
        user: *mut ::std::os::raw::c_void,
    ) -> kora_status;
}
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_name {
    _unused: [u8; 0],
}
extern "C" {
    pub fn kora_name_new(
        path: *const ::std::os::raw::c_char,
        out: *mut *mut kora_name,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_name_new_below(
        parent: *mut kora_name,
        path: *const ::std::os::raw::c_char,
        out: *mut *mut kora_name,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_name_path(
        name: *mut kora_name,
        buffer: *mut ::std::os::raw::c_char,
        capacity: usize,
        size: *mut usize,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_name_connect(a: *mut kora_name, b: *mut kora_name) -> kora_status;
}
extern "C" {
    pub fn kora_name_disconnect(a: *mut kora_name, b: *mut kora_name) -> kora_status;
}
pub const KORA_TOKEN_BYTES: _bindgen_ty_16 = 1024;
pub type _bindgen_ty_16 = ::std::os::raw::c_uint;
extern "C" {
    pub fn kora_send(
        name: *mut kora_name,
        type_: u32,
        subtype: u32,
        bytes: *const ::std::os::raw::c_void,
        size: usize,
    ) -> kora_status;
}
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_token {
    pub bytes: *const ::std::os::raw::c_void,
    pub size: u32,
    pub type_: u32,
    pub subtype: u32,
    pub reserved: u32,
}
pub type kora_token_handler = ::std::option::Option<
    unsafe extern "C" fn(user: *mut ::std::os::raw::c_void, token: *const kora_token),
>;
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_receiver {
    _unused: [u8; 0],
}
pub const KORA_RECEIVER_AUDIO: _bindgen_ty_17 = 1;
pub const KORA_RECEIVER_WAITS: _bindgen_ty_17 = 2;
pub type _bindgen_ty_17 = ::std::os::raw::c_uint;
extern "C" {
    pub fn kora_receiver_new(flags: u32, out: *mut *mut kora_receiver) -> kora_status;
}
#[repr(C)]
#[derive(Debug, Copy, Clone)]
pub struct kora_listener {
    _unused: [u8; 0],
}
pub const KORA_LISTEN_ALL: _bindgen_ty_18 = 0;
pub const KORA_LISTEN_NEWEST: _bindgen_ty_18 = 1;
pub type _bindgen_ty_18 = ::std::os::raw::c_uint;
extern "C" {
    pub fn kora_listener_new(
        receiver: *mut kora_receiver,
        name: *mut kora_name,
        type_: u32,
        subtype: u32,
        which: i32,
        handler: kora_token_handler,
        user: *mut ::std::os::raw::c_void,
        out: *mut *mut kora_listener,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_receiver_process(
        receiver: *mut kora_receiver,
        milliseconds: i32,
        handled: *mut usize,
    ) -> kora_status;
}
extern "C" {
    pub fn kora_receiver_wait(receiver: *mut kora_receiver, milliseconds: i32) -> kora_status;
}
extern "C" {
    pub fn kora_receiver_wake(receiver: *mut kora_receiver) -> kora_status;
}
