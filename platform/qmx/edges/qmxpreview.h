// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <memory>

/// What is on the output, as companions see it: a picture of reduced size, meters and what belongs to it.
struct QmxPreviewPicture
{
    static constexpr int channels = 8;
    static constexpr double quietest = -70;

    int width = 0; ///< even; 0: no picture yet
    int height = 0;
    int aspectWidth = 0; ///< the shape in which it is shown, such as 4 and 3; 0: not known
    int aspectHeight = 0;
    /// 8 bits, legal range, 4:2:0: width x height, then twice width / 2 x height / 2; rows without padding.
    QByteArray luma, cb, cr;
    QString timecode;        ///< "--:--:--:--" when there is none
    QString format;          ///< of the output, for the operator
    QString connection;      ///< electrical side of the output: colour, SDI, HDMI, analog level
    QString input;           ///< one sentence: what the input is, and what is wrong with it
    QString outputs;         ///< the same of each output but the preview, a line each
    qint64 tick = 0;         ///< of the device's clock
    qint64 time = 0;         ///< of the tick, on the machine's monotonic clock, in nanoseconds
    qint64 frameNumber = -1; ///< of the frame shown (playback); -1: not known
    bool isCapture = false;
    bool isRepeat = false;
    bool hasPicture = false;              ///< false: black because there is nothing to show
    std::array<double, channels> peaks{}; ///< of the frame's sound, 0 to 1 of full scale
    /// Loudness of the last 400 ms and the last three seconds of sound, in LUFS; at most quietest: none.
    double momentaryLoudness = quietest;
    double shortTermLoudness = quietest;
};

/// Shared memory of the preview: a header and two pictures that are written in turn, each under a sequence
/// counter that is odd while it is being written.
namespace QmxPreview {
constexpr int maximumWidth = 960;
constexpr int maximumHeight = 576;
/// Of the recorder of the environment.
QString defaultName();
} // namespace QmxPreview

/// Publishes the preview. One thread. Takes over what a former process left behind; without shared memory
/// write() does nothing.
class QmxPreviewWriter
{
public:
    explicit QmxPreviewWriter(const QString &name);
    ~QmxPreviewWriter();
    QmxPreviewWriter(const QmxPreviewWriter &) = delete;
    QmxPreviewWriter &operator=(const QmxPreviewWriter &) = delete;

    bool isOpen() const;
    void write(const QmxPreviewPicture &picture);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

/// Reads the preview of a running recorder, from any process. One thread.
class QmxPreviewReader
{
public:
    QmxPreviewReader();
    ~QmxPreviewReader();
    QmxPreviewReader(const QmxPreviewReader &) = delete;
    QmxPreviewReader &operator=(const QmxPreviewReader &) = delete;

    /// False when there is none. Again: takes the present one (after the recorder has been restarted).
    bool open(const QString &name = QmxPreview::defaultName());
    /// Pictures published so far: changes with each new one.
    quint64 count() const;
    /// The newest picture, whole; false when there is none, or the writer died in the middle of one.
    bool read(QmxPreviewPicture &picture);
    /// The same without the picture itself: quick.
    bool readTexts(QmxPreviewPicture &picture);

private:
    bool take(QmxPreviewPicture &picture, bool withPixels);

    struct Private;
    std::unique_ptr<Private> d;
};
