// Opens a song, prints its tempi, where bar 5 is, and what a wrong file is refused with, and keeps a take in a document in
// memory: the C interface from Rust.
#[allow(dead_code, non_camel_case_types, non_upper_case_globals)]
mod kora;

use std::ffi::{CStr, CString};
use std::ptr;

/// What a call failed with: the status, and the thread's last error in words.
#[derive(Debug)]
struct Error {
    status: kora::kora_status,
    text: String,
}

fn check(status: kora::kora_status) -> Result<(), Error> {
    if status == kora::KORA_OK as kora::kora_status {
        return Ok(());
    }
    let text = unsafe { CStr::from_ptr(kora::kora_last_error_text()) };
    Err(Error { status, text: text.to_string_lossy().into_owned() })
}

/// The library, started for as long as this lives.
struct Library;

impl Library {
    fn start() -> Result<Library, Error> {
        check(unsafe { kora::kora_init() })?;
        Ok(Library)
    }
}

impl Drop for Library {
    fn drop(&mut self) {
        unsafe { kora::kora_free() };
    }
}

/// A song, and one reference to it. It cannot outlive the library.
struct Song<'a> {
    handle: *mut kora::kora_song,
    _library: &'a Library,
}

impl<'a> Song<'a> {
    fn open(library: &'a Library, path: &str) -> Result<Song<'a>, Error> {
        let path = CString::new(path).expect("a path without a zero");
        let mut handle = ptr::null_mut();
        check(unsafe { kora::kora_song_open(path.as_ptr(), &mut handle) })?;
        Ok(Song { handle, _library: library })
    }

    fn tempi(&self) -> Result<Vec<f64>, Error> {
        let mut map = ptr::null_mut();
        check(unsafe { kora::kora_song_get_tempo_map(self.handle, &mut map) })?;
        let mut count = 0;
        let mut tempi = Vec::new();
        let mut result = check(unsafe { kora::kora_tempo_map_count(map, &mut count) });
        for index in 0..count {
            let mut tempo: kora::kora_tempo = unsafe { std::mem::zeroed() };
            result = result.and(check(unsafe { kora::kora_tempo_map_get(map, index, &mut tempo) }));
            tempi.push(tempo.beats_per_minute);
        }
        unsafe { kora::kora_release(map.cast()) };
        result.map(|_| tempi)
    }

    fn sample_of_bar(&self, bar: i32) -> Result<i64, Error> {
        let position = kora::kora_bar_position { bar, beat: 1, ticks: 0 };
        let mut time = kora::kora_time { count: 0, unit: 0, reserved: 0 };
        check(unsafe { kora::kora_from_bars(self.handle, position, kora::KORA_SAMPLES, &mut time) })?;
        Ok(time.count)
    }
}

impl Drop for Song<'_> {
    fn drop(&mut self) {
        unsafe { kora::kora_release(self.handle.cast()) };
    }
}

/// The stream type of takes; it stands in files, and is never used for anything else again.
const TAKE: i32 = 100;

/// A document, and one reference to it.
struct Document<'a> {
    handle: *mut kora::kora_document,
    _library: &'a Library,
}

impl<'a> Document<'a> {
    /// What `make` hands out.
    fn of<Make>(library: &'a Library, make: Make) -> Result<Document<'a>, Error>
    where
        Make: FnOnce(&mut *mut kora::kora_document) -> kora::kora_status,
    {
        let mut handle = ptr::null_mut();
        check(make(&mut handle))?;
        Ok(Document { handle, _library: library })
    }

    fn write_take(library: &'a Library, name: &str, start: i64) -> Result<Vec<u8>, Error> {
        let name = CString::new(name).expect("a name without a zero");
        let document = Document::of(library, |out| unsafe { kora::kora_document_create_in_memory(out) })?;
        let mut size = 0;
        unsafe {
            check(kora::kora_document_begin(document.handle, TAKE, 1, name.as_ptr()))?;
            check(kora::kora_document_write_text(document.handle, name.as_ptr()))?;
            check(kora::kora_document_write(document.handle, kora::KORA_INT64 as i32, &start as *const i64 as *const _, 1))?;
            check(kora::kora_document_end(document.handle))?;
            check(kora::kora_document_commit(document.handle))?;
            // Too small, and says what is needed.
            kora::kora_document_get_bytes(document.handle, ptr::null_mut(), 0, &mut size);
        }
        let mut bytes = vec![0; size];
        check(unsafe { kora::kora_document_get_bytes(document.handle, bytes.as_mut_ptr().cast(), size, &mut size) })?;
        Ok(bytes)
    }

    fn read_take(library: &'a Library, bytes: &[u8]) -> Result<(String, i64), Error> {
        let document =
            Document::of(library, |out| unsafe { kora::kora_document_read_bytes(bytes.as_ptr().cast(), bytes.len(), out) })?;
        let key = kora::kora_step { type_: TAKE, item: kora::KORA_NO_ITEM };
        let mut name = vec![0u8; 64];
        let (mut size, mut start) = (0, 0i64);
        unsafe {
            check(kora::kora_document_enter(document.handle, &key, 1, ptr::null_mut()))?;
            check(kora::kora_document_read_text(document.handle, name.as_mut_ptr().cast(), name.len(), &mut size))?;
            check(kora::kora_document_read(document.handle, kora::KORA_INT64 as i32, &mut start as *mut i64 as *mut _, 1))?;
        }
        name.truncate(size);
        Ok((String::from_utf8_lossy(&name).into_owned(), start))
    }
}

impl Drop for Document<'_> {
    fn drop(&mut self) {
        unsafe { kora::kora_release(self.handle.cast()) };
    }
}

fn run(path: &str) -> Result<(), Error> {
    let library = Library::start()?;
    let song = Song::open(&library, path)?;
    let tempi: Vec<String> = song.tempi()?.iter().map(|tempo| format!("{:.0}", tempo)).collect();
    println!("tempi {}", tempi.join(" "));
    println!("bar 5 at sample {}", song.sample_of_bar(5)?);
    let mut bytes = Document::write_take(&library, "voice", 96000)?;
    let (name, start) = Document::read_take(&library, &bytes)?;
    println!("{} at sample {}", name, start);
    bytes.truncate(bytes.len() / 2);
    if let Err(error) = Document::read_take(&library, &bytes) {
        println!("cut in half, refused with {}", error.status);
    }
    if let Err(error) = Song::open(&library, file!()) {
        println!("refused with {}: {}", error.status, error.text);
    }
    Ok(())
}

fn main() {
    let path = std::env::args().nth(1).unwrap_or_else(|| "first-light.mid".to_string());
    if let Err(error) = run(&path) {
        eprintln!("{}", error.text);
        std::process::exit(1);
    }
}
