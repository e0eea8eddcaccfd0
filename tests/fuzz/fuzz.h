// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <string>

/// What a fuzzer consists of besides LLVMFuzzerTestOneInput(). Called with the name of an empty directory it
/// fills that with its seeds first.
namespace Fuzz {

/// Each fuzzer's own: what its first inputs are.
void writeSeeds(const QString &folder);

void writeSeed(const QString &folder, const char *name, const QByteArray &bytes);
/// A file of this process for inputs that are read from files.
QString scratchFile(const char *name);
void writeScratch(const QString &path, const unsigned char *data, std::size_t size);
inline std::string text(const unsigned char *data, std::size_t size)
{
    return {reinterpret_cast<const char *>(data), size};
}
/// Tells what does not hold and ends.
void mustHold(bool holds, const char *what);

} // namespace Fuzz
