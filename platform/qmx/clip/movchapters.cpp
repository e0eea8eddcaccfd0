// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movchapters.h"

#include <algorithm>
#include <limits>

MovChapters::MovChapters(QList<QmxClipChapter> chapters, qint64 frames, const MovFormat &format)
{
    chapters.removeIf([frames](const QmxClipChapter &one) { return one.frame < 0 || one.frame >= frames; });
    std::stable_sort(chapters.begin(), chapters.end(),
                     [](const QmxClipChapter &a, const QmxClipChapter &b) { return a.frame < b.frame; });
    if (chapters.isEmpty() || frames * format.frameDuration > std::numeric_limits<qint32>::max()) return;
    // What is before the first one has no name.
    if (chapters.first().frame > 0) chapters.prepend({0, QString()});
    for (qsizetype i = 0; i < chapters.size(); ++i) {
        const qint64 end = i + 1 < chapters.size() ? chapters[i + 1].frame : frames;
        if (end == chapters[i].frame) continue; // another one begins there too
        AtomWriter sample;
        const QByteArray name = chapters[i].name.toUtf8();
        sample.u16(quint16(name.size()));
        sample.bytes(name);
        sample.begin("encd");
        sample.u32(0x100); // UTF-8
        sample.end();
        _text += sample.data();
        _sizes.push_back(quint32(sample.size()));
        _lengths.push_back(quint32((end - chapters[i].frame) * format.frameDuration));
    }
}

void MovChapters::writeTables(AtomWriter &atoms, qint64 position) const
{
    const quint32 count = quint32(_lengths.size());
    atoms.begin("stts", 0, 0);
    atoms.u32(count);
    for (const quint32 length : _lengths) {
        atoms.u32(1);
        atoms.u32(length);
    }
    atoms.end();
    atoms.begin("stsc", 0, 0);
    for (const quint32 value : {1u, 1u, count, 1u}) // one chunk has all of them
        atoms.u32(value);
    atoms.end();
    atoms.begin("stsz", 0, 0);
    atoms.u32(0);
    atoms.u32(count);
    for (const quint32 size : _sizes)
        atoms.u32(size);
    atoms.end();
    atoms.begin("co64", 0, 0);
    atoms.u32(1);
    atoms.u64(quint64(position));
    atoms.end();
}
