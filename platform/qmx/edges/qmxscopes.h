// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QtGlobal>

#include <array>
#include <memory>

class QmxPicture;

/// What instruments show of one picture, as intensities of 0 to 255; the first row is the highest level.
/// Levels are 10-bit values in steps of four: row 255 - v / 4.
struct QmxScopes
{
    static constexpr int columns = 512;
    static constexpr int levels = 256;
    static constexpr int paradeColumns = 192;

    qint64 tick = 0;                                                ///< of the device's clock
    qint64 lines = 0;                                               ///< of the picture
    std::array<uchar, size_t(columns) * levels> waveform{};         ///< luma over the width of the picture
    std::array<uchar, size_t(paradeColumns) * 3 * levels> parade{}; ///< red, green, blue side by side
    std::array<uchar, size_t(levels) * levels>
        vectorscope{}; ///< Cb to the right, Cr upwards, in steps of four

    /// Lines up to which a picture is of standard definition: its colours are those of BT.601, else of
    /// BT.709.
    static constexpr int standardLines = 576;
    /// How many times smaller what they are measured on may be than a picture of this width: a line still has
    /// a sample for each column. The finest detail is gone then, and with it its highest and lowest levels.
    static int greatestDivisor(int width) { return width >= 2 * columns ? 2 : 1; }
    /// Of a valid picture, from its 10-bit samples; `lines` are those that it has when it is whole. Some
    /// milliseconds; any thread.
    static void measure(const QmxPicture &picture, int lines, QmxScopes &scopes);
    /// Name of the shared memory beside the preview of this name.
    static QString nameBeside(const QString &preview);
};

/// Publishes them in shared memory, and hears there whether anybody looks. One thread, isWanted() any one.
class QmxScopesWriter
{
public:
    explicit QmxScopesWriter(const QString &name);
    ~QmxScopesWriter();
    QmxScopesWriter(const QmxScopesWriter &) = delete;
    QmxScopesWriter &operator=(const QmxScopesWriter &) = delete;

    /// How often somebody has asked; 0 without shared memory.
    quint64 asked() const;
    void write(const QmxScopes &scopes);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

/// Reads them from any process. One thread.
class QmxScopesReader
{
public:
    QmxScopesReader();
    ~QmxScopesReader();
    QmxScopesReader(const QmxScopesReader &) = delete;
    QmxScopesReader &operator=(const QmxScopesReader &) = delete;

    /// False when there are none, or this process may not ask for them. Again: takes the present one.
    bool open(const QString &name);
    /// Somebody looks: they are made for the next askedForTicks ticks.
    void ask();
    /// The newest ones, whole; false when there are none yet.
    bool read(QmxScopes &scopes);

    static constexpr int askedForTicks = 60;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
