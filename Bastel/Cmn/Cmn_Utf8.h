// Cmn_Utf8: characters of UTF-8 text, whatever bytes it holds.
//
// Ill-formed bytes come out as U+FFFD, one for each longest beginning of a character: "a\xE2\x99z"
// is a, U+FFFD, z. Ill-formed are overlong forms, surrogates, values above U+10FFFF and stray or
// missing continuation bytes.
#pragma once

#include "Export/Kora_API.h"

#include <string>
#include <string_view>

inline constexpr char32_t cCmn_ReplacementCharacter = 0xFFFD; // for what is ill-formed

// Takes the first character off a text that is not empty.
KORA_API char32_t Cmn_TakeUtf8(std::string_view& ioText);

// Appends one character; U+FFFD for a surrogate and for what lies above U+10FFFF.
KORA_API void Cmn_AppendUtf8(std::string& ioText, char32_t iCharacter);

// A surrogate without its other half becomes U+FFFD.
[[nodiscard]] KORA_API std::string Cmn_Utf8FromUtf16(std::u16string_view iText);
