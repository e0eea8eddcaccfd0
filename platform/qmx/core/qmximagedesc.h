// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxid.h"
#include "platform/qmx/core/qmxvideorate.h"

/// The format of a picture. A value; equal by all fields. Nothing in it changes from frame to frame.
class QmxImageDesc
{
public:
    enum ScanMode { Progressive = 0, Interlaced = 1, SegmentedFrame = 2 };

    /// Raster in pixels.
    void setSize(int width, int height) { _width = width, _height = height; }
    /// Display aspect ratio, such as 16 and 9.
    void setAspectRatio(int width, int height) { _aspectWidth = width, _aspectHeight = height; }
    void setFrameRate(const QmxVideoRate &rate) { _frameRate = rate; }
    void setScanMode(int mode) { _scanMode = mode; }
    /// What the bytes of an image are: 202 to 206 ProRes, 230, 231, 250 uncompressed.
    void setDataType(const QmxId &type) { _dataType = type; }

    int width() const { return _width; }
    int height() const { return _height; }
    int aspectWidth() const { return _aspectWidth; }
    int aspectHeight() const { return _aspectHeight; }
    QmxVideoRate frameRate() const { return _frameRate; }
    int scanMode() const { return _scanMode; }
    QmxId dataType() const { return _dataType; }

    /// Two fields a frame; segmented frames are not interlaced.
    bool isInterlaced() const { return _scanMode == Interlaced; }
    /// A raster and a rate are set.
    bool isValid() const { return _width > 0 && _height > 0 && _frameRate.isValid(); }
    /// "1920x1080i 29.97 ProRes 422"; "none" for an empty one.
    QString toString() const;

    friend bool operator==(const QmxImageDesc &, const QmxImageDesc &) = default;

private:
    int _width = 0;
    int _height = 0;
    int _aspectWidth = 0;
    int _aspectHeight = 0;
    QmxVideoRate _frameRate;
    int _scanMode = Progressive;
    QmxId _dataType;
};

Q_DECLARE_METATYPE(QmxImageDesc)
