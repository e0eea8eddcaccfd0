// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxpicture.h"

#include <QString>

#include <array>
#include <memory>
#include <vector>

class QmxSharedMemory;

/// A picture of the output in its own size and depth, as a companion gets it: rows without padding.
struct QmxFullPicture
{
    static constexpr int maximumWidth = 4096;
    static constexpr int maximumHeight = 2160;

    int width = 0; ///< 0: there was none, the output is black
    int height = 0;
    QmxPicture::Format format = QmxPicture::Format::Invalid;
    std::array<std::vector<quint16>, 3> planes;

    int planeWidth(int plane) const
    {
        return plane > 0 && format == QmxPicture::Format::Yuv422P10 ? width / 2 : width;
    }
    /// Name of the shared memory beside the preview of this name.
    static QString nameBeside(const QString &preview) { return preview + QStringLiteral("_full"); }
};

/// Puts the next picture into shared memory when somebody has asked there for one: nothing is copied
/// otherwise. One thread.
class QmxFullPictureWriter
{
public:
    explicit QmxFullPictureWriter(const QString &name);
    ~QmxFullPictureWriter();
    QmxFullPictureWriter(const QmxFullPictureWriter &) = delete;
    QmxFullPictureWriter &operator=(const QmxFullPictureWriter &) = delete;

    void offer(const QmxPicture &picture);
    /// How often somebody has asked. Any thread.
    quint64 asked() const;
    bool isWanted() const { return asked() != _served; }

private:
    struct Layout;
    friend class QmxFullPictureReader;
    bool hasRoom(int height) const;

    std::unique_ptr<QmxSharedMemory> _memory; ///< null: there is none, and nobody asks
    Layout *_shared = nullptr;
    quint64 _served = 0;
};

/// Asks for a picture, from any process. One thread.
class QmxFullPictureReader
{
public:
    QmxFullPictureReader();
    ~QmxFullPictureReader();
    QmxFullPictureReader(const QmxFullPictureReader &) = delete;
    QmxFullPictureReader &operator=(const QmxFullPictureReader &) = delete;

    /// False when there is no recorder, or this process may not ask it.
    bool open(const QString &name);
    void ask();
    /// True when a picture that was asked for here, or later, is there and whole.
    bool read(QmxFullPicture &picture);

private:
    std::unique_ptr<QmxSharedMemory> _memory;
    QmxFullPictureWriter::Layout *_shared = nullptr;
    quint64 _asked = 0;
};
