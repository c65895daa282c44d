#pragma once

#include <string>
#include <string_view>

// Text for standard output and for comparing with arguments: UTF-8 throughout.

// A surrogate without its other half, as a window title may hold, becomes U+FFFD.
std::string ToUtf8(std::wstring_view text);

// `text` as a JSON string with its quotation marks.
std::string JsonString(const std::string& text);

// `text` with blanks in place of control characters, which would move the cursor
// or colour the console.
std::string OneLine(std::string text);
