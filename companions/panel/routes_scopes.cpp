// SPDX-License-Identifier: GPL-3.0-or-later
// Waveform, parade and vectorscope of the picture on the output.
#include "companions/panel/panel.h"
#include "platform/qmx/edges/qmxpreview.h"
#include "platform/qmx/edges/qmxscopes.h"

#include <QtEndian>

#include <mutex>

namespace {
/// Version, columns of the waveform and of a third of the parade, levels, tick, lines of the picture; then
/// the three, row by row.
QByteArray message(const QmxScopes &scopes)
{
    constexpr quint16 version = 2;
    constexpr int headerSize = 24;
    QByteArray result(headerSize, '\0');
    qToLittleEndian(version, result.data());
    qToLittleEndian(quint16(QmxScopes::columns), result.data() + 2);
    qToLittleEndian(quint16(QmxScopes::paradeColumns), result.data() + 4);
    qToLittleEndian(quint16(QmxScopes::levels), result.data() + 6);
    qToLittleEndian(scopes.tick, result.data() + 8);
    qToLittleEndian(quint16(scopes.lines), result.data() + 16);
    const auto append = [&result](const auto &tile) {
        result.append(reinterpret_cast<const char *>(tile.data()), qsizetype(tile.size()));
    };
    append(scopes.waveform);
    append(scopes.parade);
    append(scopes.vectorscope);
    return result;
}

/// What workers share: each question is also the sign that somebody looks.
struct Asked
{
    std::mutex mutex;
    QmxScopesReader reader;
    QmxScopes scopes;
    qint64 tick = -1;
    bool isOpen = false;

    std::optional<QByteArray> next()
    {
        const std::lock_guard lock(mutex);
        // A recorder that was started again has others.
        const bool stands = isOpen && reader.read(scopes) && scopes.tick == tick;
        if (!isOpen || stands) isOpen = reader.open(QmxScopes::nameBeside(QmxPreview::defaultName()));
        if (!isOpen) return {};
        reader.ask();
        if (!reader.read(scopes)) return QByteArray();
        tick = scopes.tick;
        return message(scopes);
    }
};
} // namespace

void getScopes(Panel &panel, const HttpCall &, Respond respond)
{
    static const auto asked = std::make_unique<Asked>();
    onWorker(panel, respond, [](Control &) {
        const auto scopes = asked->next();
        if (!scopes) return problemReply(503, "no_scopes", "there is no picture on the output to measure");
        HttpReply reply;
        reply.type = "application/octet-stream";
        reply.body = *scopes;
        if (scopes->isEmpty()) reply.status = 204; // the first are being made
        return reply;
    });
}
