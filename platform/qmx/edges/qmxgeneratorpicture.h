// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxpicture.h"
#include "platform/qmx/core/qmximagedesc.h"

#include <vector>

/// The generator's pictures in one format: bars (800), ramp (801), moving texture (802), else black; each
/// with a small white box that moves, so that one sees that the picture runs, and the strip. What stands
/// still is drawn once, in the constructor (some milliseconds); where all but the box and the strip does, a
/// picture that nobody holds any more becomes the next one. Not thread-safe; the constructor may run on
/// another thread.
class QmxGeneratorPicture
{
public:
    /// Data type 250 gives RGB, 206 4:4:4, every other one 4:2:2.
    QmxGeneratorPicture(const QmxImageDesc &desc, const QmxId &pattern);

    /// The picture of a frame, its strip carrying the frame's number; not valid: pool exhausted.
    QmxPicture render(qint64 frame);

private:
    void drawBackground(QmxId pattern);
    void fillRowFromColours(quint16 *const rows[3], int width, QmxId pattern) const;
    int fieldOf(int line) const;
    void scroll(QmxPicture &picture, qint64 frame) const;
    int boxSide() const;
    int boxStart(int line, qint64 frame) const;
    void drawBox(QmxPicture &picture, qint64 frame) const;
    void eraseBox(QmxPicture &picture, qint64 frame) const;

    /// A picture that was given away, to be used again.
    struct Drawn
    {
        QmxPicture picture;
        qint64 frame = 0;
    };
    QmxImageDesc _desc;
    QmxPicture _background; ///< wider than the picture when the pattern scrolls
    bool _scrolls = false;
    std::vector<Drawn> _drawn; ///< of a background that stands still
};
