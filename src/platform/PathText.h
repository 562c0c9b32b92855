#pragma once

#include <QString>
#include <filesystem>

namespace tessoly {

// File names on Linux are bytes. These conversions keep every byte: bytes
// that are not valid UTF-8 travel as lone surrogates U+DC80..U+DCFF, so a
// path written to the log and read back names exactly the same file.
[[nodiscard]] QString pathToText(const std::filesystem::path &path);
[[nodiscard]] std::filesystem::path textToPath(const QString &text);

// For display only: invalid bytes become U+FFFD, and a path inside the
// home folder starts with "~".
[[nodiscard]] QString displayPath(const std::filesystem::path &path);
[[nodiscard]] QString abbreviateHome(const QString &text, const QString &home);

// Whether a path lies strictly inside a folder, by whole names ("/a/bc" is not inside "/a/b").
[[nodiscard]] bool liesInside(const std::filesystem::path &path, const std::filesystem::path &folder);

} // namespace tessoly
