// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/jpeg.h"

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <jpeglib.h>

namespace {
using Plane = std::vector<uint8_t>;

/// Factors have 14 bits behind the point, samples 7, their products 5: all of it fits into 16 bits, of which
/// a register holds twice as many as of 32, and rounds to within a tenth of a step.
constexpr int factorBits = 14;
constexpr int sampleBits = 7;
constexpr int productBits = factorBits + sampleBits - 16;
constexpr int half = 1 << (productBits - 1);
constexpr int middle = 128;
constexpr int black = 16;

/// Y', Cb, Cr of the preview to those of the file. None reaches 2.
struct Colours
{
    int16_t lumaOfLuma, lumaOfCb, lumaOfCr;
    int16_t cbOfCb, cbOfCr;
    int16_t crOfCb, crOfCr;
};

int16_t fixedPoint(double value)
{
    return int16_t(std::lround(value * (1 << factorBits)));
}

/// From the primaries' weights of red and blue in the luma of both sides.
Colours coloursFor(double red, double blue)
{
    constexpr double fullRange = 255.0;
    constexpr double legalLuma = 219.0;
    constexpr double legalChroma = 224.0;
    constexpr double toRed = 0.299;
    constexpr double toBlue = 0.114;
    constexpr double toGreen = 1 - toRed - toBlue;
    const double green = 1 - red - blue;
    // R - Y = 2 (1 - red) Cr, B - Y = 2 (1 - blue) Cb, G - Y from both.
    const double redOfCr = 2 * (1 - red);
    const double blueOfCb = 2 * (1 - blue);
    const double greenOfCb = -blue / green * blueOfCb;
    const double greenOfCr = -red / green * redOfCr;
    const double lumaCb = toGreen * greenOfCb + toBlue * blueOfCb;
    const double lumaCr = toRed * redOfCr + toGreen * greenOfCr;
    const double chroma = fullRange / legalChroma;
    const double cb = 1 / (2 * (1 - toBlue));
    const double cr = 1 / (2 * (1 - toRed));
    return {fixedPoint(fullRange / legalLuma),
            fixedPoint(lumaCb * chroma),
            fixedPoint(lumaCr * chroma),
            fixedPoint((blueOfCb - lumaCb) * cb * chroma),
            fixedPoint(-lumaCr * cb * chroma),
            fixedPoint(-lumaCb * cr * chroma),
            fixedPoint((redOfCr - lumaCr) * cr * chroma)};
}

inline uint8_t clamped(int16_t value)
{
    constexpr int16_t least = 0;
    constexpr int16_t most = 255;
    return uint8_t(std::min(std::max(value, least), most));
}

/// A factor times a sample around its zero.
inline int16_t times(int16_t factor, int16_t sample)
{
    return int16_t((int(factor) * int(int16_t(sample * (1 << sampleBits)))) >> 16);
}

inline int16_t sum(int16_t a, int16_t b)
{
    return int16_t(a + b);
}

inline int16_t rounded(int16_t product)
{
    return int16_t(product >> productBits);
}

// The compiler makes these for registers of both widths; which is run is found out once, at start.
#if defined(__x86_64__) && !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__) &&                \
    !defined(__clang__)
#define FOR_WIDE_REGISTERS __attribute__((target_clones("avx2", "default")))
#else
#define FOR_WIDE_REGISTERS
#endif

/// A row of chroma, and its part of the luma of both rows beside it, for each sample.
FOR_WIDE_REGISTERS void convertChroma(const Colours &k, int pairs, const uint8_t *__restrict cbIn,
                                      const uint8_t *__restrict crIn, uint8_t *__restrict cbOut,
                                      uint8_t *__restrict crOut, int16_t *__restrict added)
{
    const Colours c = k;
    for (int x = 0; x < pairs; ++x) {
        const auto b = int16_t(cbIn[x] - middle);
        const auto r = int16_t(crIn[x] - middle);
        constexpr auto zero = int16_t((middle << productBits) + half);
        cbOut[x] = clamped(rounded(sum(sum(times(c.cbOfCb, b), times(c.cbOfCr, r)), zero)));
        crOut[x] = clamped(rounded(sum(sum(times(c.crOfCb, b), times(c.crOfCr, r)), zero)));
        added[2 * x] = added[2 * x + 1] = sum(sum(times(c.lumaOfCb, b), times(c.lumaOfCr, r)), half);
    }
}

FOR_WIDE_REGISTERS void convertLuma(int16_t scale, int width, const uint8_t *__restrict in,
                                    const int16_t *__restrict added, uint8_t *__restrict out)
{
    for (int x = 0; x < width; ++x)
        out[x] = clamped(rounded(sum(times(scale, int16_t(in[x] - black)), added[x])));
}

/// Where the library puts the file: into the bytes that are given to others, which are not copied again.
struct Destination
{
    jpeg_destination_mgr manager; ///< first: the library knows only this
    QByteArray *bytes;
};

constexpr qsizetype firstRoom = 64 * 1024;

void beginFile(j_compress_ptr info)
{
    auto *to = reinterpret_cast<Destination *>(info->dest);
    to->bytes->resize(std::max(firstRoom, to->bytes->capacity()));
    to->manager.next_output_byte = reinterpret_cast<JOCTET *>(to->bytes->data());
    to->manager.free_in_buffer = size_t(to->bytes->size());
}

boolean makeRoom(j_compress_ptr info)
{
    auto *to = reinterpret_cast<Destination *>(info->dest);
    const qsizetype full = to->bytes->size(); // (all of it, whatever is said to be free)
    to->bytes->resize(2 * full);
    to->manager.next_output_byte = reinterpret_cast<JOCTET *>(to->bytes->data() + full);
    to->manager.free_in_buffer = size_t(full);
    return TRUE;
}

void endFile(j_compress_ptr info)
{
    auto *to = reinterpret_cast<Destination *>(info->dest);
    to->bytes->resize(to->bytes->size() - qsizetype(to->manager.free_in_buffer));
}

/// What ends the library's work on an error: no exception and no exit of the program.
struct Failure
{
    jpeg_error_mgr manager; ///< first: the library knows only this
    std::jmp_buf back;
};

[[noreturn]] void fail(j_common_ptr info)
{
    std::longjmp(reinterpret_cast<Failure *>(info->err)->back, 1);
}

void sayNothing(j_common_ptr) {}

constexpr int blockRows = 16; ///< of luma, in a row of blocks of 4:2:0

struct Rows
{
    std::array<JSAMPROW, blockRows> luma;
    std::array<JSAMPROW, blockRows / 2> cb, cr;
};

/// All of the library's work: nothing in here has a destructor, so that an error may jump out of it.
bool compress(jpeg_compress_struct &info, Failure &failure, Destination &to, uint8_t *const planes[3],
              int stride, int width, int height, int quality)
{
    info.err = jpeg_std_error(&failure.manager);
    failure.manager.error_exit = fail;
    failure.manager.output_message = sayNothing;
    if (setjmp(failure.back)) return false;
    jpeg_create_compress(&info);
    to.manager = {nullptr, 0, beginFile, makeRoom, endFile};
    info.dest = &to.manager;
    info.image_width = JDIMENSION(width);
    info.image_height = JDIMENSION(height);
    info.input_components = 3;
    info.in_color_space = JCS_YCbCr;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, quality, TRUE);
    info.raw_data_in = TRUE;
    info.dct_method = JDCT_IFAST;
    jpeg_start_compress(&info, TRUE);
    Rows rows;
    JSAMPARRAY parts[3] = {rows.luma.data(), rows.cb.data(), rows.cr.data()};
    while (info.next_scanline < info.image_height) {
        const size_t top = info.next_scanline;
        for (size_t i = 0; i < blockRows; ++i)
            rows.luma[i] = planes[0] + (top + i) * size_t(stride);
        for (size_t i = 0; i < blockRows / 2; ++i) {
            rows.cb[i] = planes[1] + (top / 2 + i) * size_t(stride / 2);
            rows.cr[i] = planes[2] + (top / 2 + i) * size_t(stride / 2);
        }
        jpeg_write_raw_data(&info, parts, blockRows);
    }
    jpeg_finish_compress(&info);
    return true;
}
} // namespace

struct JpegMaker::Private
{
    const Colours standard = coloursFor(0.299, 0.114);
    const Colours high = coloursFor(0.2126, 0.0722);
    Plane luma, cb, cr;         ///< padded to whole blocks
    std::vector<int16_t> added; ///< the chroma's part of the luma, for each sample of a row
    int stride = 0;
    int rows = 0;
    qsizetype lastSize = 0; ///< of a file: the next is about as large

    void size(int width, int height);
    void convert(const QmxPreviewPicture &picture, const Colours &colours);
    void pad(Plane &plane, int width, int height, int planeStride, int planeRows);
};

void JpegMaker::Private::size(int width, int height)
{
    const auto whole = [](int value) { return (value + blockRows - 1) / blockRows * blockRows; };
    stride = whole(width);
    rows = whole(height);
    luma.resize(size_t(stride) * size_t(rows));
    cb.resize(luma.size() / 4);
    cr.resize(luma.size() / 4);
}

void JpegMaker::Private::convert(const QmxPreviewPicture &picture, const Colours &colours)
{
    const int pairs = picture.width / 2;
    added.resize(size_t(pairs) * 2);
    for (int y = 0; y < picture.height / 2; ++y) {
        const auto *cbIn =
            reinterpret_cast<const uint8_t *>(picture.cb.constData()) + size_t(y) * size_t(pairs);
        const auto *crIn =
            reinterpret_cast<const uint8_t *>(picture.cr.constData()) + size_t(y) * size_t(pairs);
        uint8_t *cbOut = cb.data() + size_t(y) * size_t(stride / 2);
        uint8_t *crOut = cr.data() + size_t(y) * size_t(stride / 2);
        convertChroma(colours, pairs, cbIn, crIn, cbOut, crOut, added.data());
        for (int line = 2 * y; line < 2 * y + 2; ++line) {
            const auto *in = reinterpret_cast<const uint8_t *>(picture.luma.constData()) +
                             size_t(line) * size_t(picture.width);
            uint8_t *out = luma.data() + size_t(line) * size_t(stride);
            convertLuma(colours.lumaOfLuma, 2 * pairs, in, added.data(), out);
        }
    }
}

/// What lies outside the picture repeats its edge: no edge of its own that would cost bits.
void JpegMaker::Private::pad(Plane &plane, int width, int height, int planeStride, int planeRows)
{
    for (int y = 0; y < height; ++y) {
        uint8_t *row = plane.data() + size_t(y) * size_t(planeStride);
        std::fill(row + width, row + planeStride, row[width - 1]);
    }
    const uint8_t *last = plane.data() + size_t(height - 1) * size_t(planeStride);
    for (int y = height; y < planeRows; ++y)
        std::copy(last, last + planeStride, plane.data() + size_t(y) * size_t(planeStride));
}

JpegMaker::JpegMaker() : d(std::make_unique<Private>()) {}
JpegMaker::~JpegMaker() = default;

QByteArray JpegMaker::make(const QmxPreviewPicture &picture, int quality)
{
    const int width = picture.width & ~1;
    const int height = picture.height & ~1;
    const qsizetype samples = qsizetype(picture.width) * picture.height;
    if (width <= 0 || height <= 0 || picture.luma.size() < samples || picture.cb.size() < samples / 4 ||
        picture.cr.size() < samples / 4)
        return {};
    d->size(width, height);
    const bool isStandardDefinition = picture.format.startsWith(QLatin1String("720x"));
    d->convert(picture, isStandardDefinition ? d->standard : d->high);
    d->pad(d->luma, width, height, d->stride, d->rows);
    d->pad(d->cb, width / 2, height / 2, d->stride / 2, d->rows / 2);
    d->pad(d->cr, width / 2, height / 2, d->stride / 2, d->rows / 2);
    uint8_t *const planes[] = {d->luma.data(), d->cb.data(), d->cr.data()};
    jpeg_compress_struct info = {};
    Failure failure = {};
    QByteArray result;
    result.reserve(d->lastSize + d->lastSize / 4);
    Destination to{{}, &result};
    const bool isMade = compress(info, failure, to, planes, d->stride, width, height, quality);
    jpeg_destroy_compress(&info);
    if (!isMade) return {};
    d->lastSize = result.size();
    return result;
}
