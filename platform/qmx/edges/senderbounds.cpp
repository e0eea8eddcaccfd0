// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/senderbounds.h"

#include <cerrno>
#include <utility>

namespace {

struct Row
{
    const char *scheme;
    const char *formats;   ///< what may come
    const char *protocols; ///< and over what, beside what the address begins with
};

constexpr Row rows[] = {
    {"rtp", "rtp", ",udp"},
    {"rtsp", "rtsp", ",rtp,udp,tcp"},
    {"rtmp", "flv", ",tcp"},
    {"", "mpegts", ",udp,tcp,tls"},
};

constexpr int mostStreams = 256;
constexpr QLatin1String address("://");

} // namespace

bool SenderBounds::areFor(const QString &url)
{
    return url.contains(address);
}

bool SenderBounds::apply(AVFormatContext *context, const QString &url)
{
    const QByteArray scheme = url.section(address, 0, 0).toLatin1();
    const Row *row = rows;
    while (row->scheme[0] && scheme != row->scheme)
        ++row;
    context->format_whitelist = av_strdup(row->formats);
    context->protocol_whitelist = av_strdup((scheme + row->protocols).constData());
    context->max_streams = mostStreams;
    context->opaque = this;
    _open = std::exchange(context->io_open, openOnce);
    return context->format_whitelist && context->protocol_whitelist;
}

int SenderBounds::openOnce(AVFormatContext *context, AVIOContext **opened, const char *url, int flags,
                           AVDictionary **options)
{
    auto *self = static_cast<SenderBounds *>(context->opaque);
    if (std::exchange(self->_isAsked, true)) return AVERROR(EACCES);
    const int result = self->_open(context, opened, url, flags, options);
    self->_isConnected = result >= 0;
    return result;
}
