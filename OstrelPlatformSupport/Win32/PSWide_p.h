// PSWide: between the house's UTF-8 and the system's UTF-16. What is not well-formed becomes U+FFFD.
#pragma once

#include <string>
#include <string_view>

std::wstring PSWideFromUtf8(std::string_view iText);
std::string PSUtf8FromWide(std::wstring_view iText);
