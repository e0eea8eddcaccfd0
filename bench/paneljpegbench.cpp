// SPDX-License-Identifier: GPL-3.0-or-later
// A picture of the panel, beside the JPEG library alone.
#include "bench/figures.h"
#include "bench/threadcpu.h"

#include "companions/panel/jpeg.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <jpeglib.h>

namespace {
double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

constexpr int pictureWidth = 640, pictureHeight = 352;
constexpr int lines = 16; ///< of luma, in a row of blocks

/// What the library takes and gives: the planes of a picture, whole blocks.
struct Planes
{
    std::vector<JSAMPLE> of[3];
    JSAMPROW rows[3][lines];
    JSAMPARRAY parts[3] = {rows[0], rows[1], rows[2]};

    Planes()
    {
        of[0].resize(size_t(pictureWidth) * pictureHeight);
        of[1].resize(of[0].size() / 4);
        of[2].resize(of[0].size() / 4);
    }
    JSAMPARRAY *at(size_t line)
    {
        for (size_t i = 0; i < lines; ++i)
            rows[0][i] = of[0].data() + (line + i) * pictureWidth;
        for (size_t part = 1; part < 3; ++part)
            for (size_t i = 0; i < lines / 2; ++i)
                rows[part][i] = of[part].data() + (line / 2 + i) * (pictureWidth / 2);
        return parts;
    }
};

/// The picture that a file holds.
void read(const QByteArray &file, Planes &planes)
{
    jpeg_decompress_struct info = {};
    jpeg_error_mgr errors;
    info.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, reinterpret_cast<const unsigned char *>(file.constData()), ulong(file.size()));
    jpeg_read_header(&info, TRUE);
    info.raw_data_out = TRUE;
    info.out_color_space = JCS_YCbCr;
    jpeg_start_decompress(&info);
    while (info.output_scanline < info.output_height)
        jpeg_read_raw_data(&info, planes.at(info.output_scanline), lines);
    jpeg_finish_decompress(&info);
    jpeg_destroy_decompress(&info);
}

/// The library alone: the same picture in planes as it wants them.
double bareJpeg(Planes &planes, int rounds)
{
    const double begin = threadCpu();
    for (int round = 0; round < rounds; ++round) {
        jpeg_compress_struct info = {};
        jpeg_error_mgr errors;
        info.err = jpeg_std_error(&errors);
        jpeg_create_compress(&info);
        unsigned char *out = nullptr;
        unsigned long size = 0;
        jpeg_mem_dest(&info, &out, &size);
        info.image_width = pictureWidth;
        info.image_height = pictureHeight;
        info.input_components = 3;
        info.in_color_space = JCS_YCbCr;
        jpeg_set_defaults(&info);
        jpeg_set_quality(&info, JpegMaker::defaultQuality, TRUE);
        info.raw_data_in = TRUE;
        info.dct_method = JDCT_IFAST;
        jpeg_start_compress(&info, TRUE);
        while (info.next_scanline < info.image_height)
            jpeg_write_raw_data(&info, planes.at(info.next_scanline), lines);
        jpeg_finish_compress(&info);
        jpeg_destroy_compress(&info);
        std::free(out);
    }
    return (threadCpu() - begin) / rounds;
}

/// Bars, a ramp and noise, in legal range.
QmxPreviewPicture testPicture()
{
    QmxPreviewPicture picture;
    picture.format = QStringLiteral("1920x1080p25");
    picture.width = pictureWidth;
    picture.height = pictureHeight;
    quint32 noise = 1;
    const auto jitter = [&noise] { return int((noise = noise * 1664525 + 1013904223) >> 29) - 4; };
    for (int y = 0; y < pictureHeight; ++y)
        for (int x = 0; x < pictureWidth; ++x)
            picture.luma.append(char(60 + (x / 80) * 18 + y / 8 + jitter()));
    for (int y = 0; y < pictureHeight / 2; ++y)
        for (int x = 0; x < pictureWidth / 2; ++x) {
            picture.cb.append(char(100 + (x / 40 * 37) % 60 + jitter() / 2));
            picture.cr.append(char(100 + (x / 40 * 53) % 60 + jitter() / 2));
        }
    return picture;
}
} // namespace

QList<Figure> benchPanelJpeg(int seconds)
{
    const QmxPreviewPicture picture = testPicture();
    JpegMaker maker;
    const QByteArray file = maker.make(picture);
    if (file.isEmpty()) return {};
    Planes planes;
    read(file, planes);
    QList<double> ours, theirs;
    constexpr int rounds = 20;
    for (int turn = 0; turn < std::clamp(seconds * 2, 10, 50); ++turn) {
        const double begin = threadCpu();
        for (int round = 0; round < rounds; ++round)
            maker.make(picture);
        ours.append((threadCpu() - begin) / rounds);
        theirs.append(bareJpeg(planes, rounds));
    }
    return {{"panel_jpeg", median(ours), "ms", median(theirs), "ms libjpeg", 1.2}};
}
