// SPDX-License-Identifier: GPL-3.0-or-later
// How a clip is compared with what it says of itself: once through the file, in its order.
#include "platform/qmx/clip/movcrc.h"
#include "platform/qmx/clip/movlayout.h"
#include "platform/qmx/clip/movproof.h"
#include "platform/qmx/clip/movscan.h"
#include "platform/qmx/clip/qmxclipcheck.h"
#include "platform/qmx/clip/qmxclipindex.h"

#include "platform/qmx/clip/atomcursor.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

/// What a clip carries of itself.
struct Claims
{
    bool isClosed = false; ///< its head says so
    bool boxIsThere = false;
    qint64 boxSize = 0; ///< 0: there is no whole proof
    QmxBlake3::Digest box{};
    std::optional<MovProof::Contents> proof;
    std::vector<MovProof::Part> parts;
};

QString shown(const char *text)
{
    return QString::fromLatin1(text);
}

/// Whether the head says that the clip is closed, and where the moov is then; 0: the head is damaged.
bool saysClosed(MovInput &input, qint64 &moov)
{
    uchar head[MovLayout::moovPosition];
    moov = 0;
    if (input.readSmall(head, sizeof head, 0).isError()) return false;
    AtomCursor cursor(std::span<const uchar>(head).subspan(size_t(MovLayout::flipPosition)));
    if (cursor.u32() != 1 || cursor.u32() != atomType("mdat")) return false;
    const quint64 length = cursor.u64();
    if (length < quint64(input.size())) moov = MovLayout::flipPosition + qint64(length);
    return true;
}

/// The box, when it is whole.
void readBox(MovInput &input, qint64 moov, Claims &claims)
{
    const MovProof::Place place = MovProof::find(input, moov);
    QByteArray box(place.size, Qt::Uninitialized);
    claims.boxIsThere = place.size > 0;
    if (place.size == 0 || input.read(box.data(), box.size(), place.position).isError()) return;
    claims.proof = MovProof::parse({reinterpret_cast<const uchar *>(box.constData()), size_t(box.size())});
    if (!claims.proof) return;
    claims.boxSize = place.size;
    claims.box = QmxBlake3::hash(box.constData(), size_t(box.size()));
    claims.parts = claims.proof->parts;
}

class Check
{
public:
    Check(QmxClipCheck &result, const QmxEnvironment &environment, const QmxClipCheck::Pace &pace,
          const QmxClipCheck::Tap &tap)
        : _result(result),
          _environment(environment),
          _pace(pace),
          _tap(tap),
          _scan(environment, [this](const uchar *data, qint64 size) { return told(data, size); })
    {}

    QmxError prepare(const QString &path)
    {
        _result = QmxClipCheck();
        QmxError error = _input.open(path);
        if (error.isError()) return error;
        qint64 moov = 0;
        _claims.isClosed = saysClosed(_input, moov);
        readBox(_input, moov, _claims);
        QmxClipIndex index;
        error = index.load(_input, false);
        _result.info = index.info;
        if (_claims.proof) {
            _claims.isClosed = _result.hasProof = true;
            _result.take = _claims.proof->take;
        } else if (QmxError damaged = readSlots(!error.isError() && index.info.closed); damaged.isError()) {
            return error.value() == ENOTSUP || index.info.foreign ? notOurs(path) : damaged;
        }
        _result.closed = _claims.isClosed;
        for (const auto &part : _claims.parts)
            if (part.link) _result.chain = QmxBlake3::toHex(*part.link);
        return {};
    }

    QmxError run(const QString &path)
    {
        QmxError error = prepare(path);
        if (!error.isError()) error = _scan.open(path);
        if (error.isError()) return error;
        _total = _claims.isClosed || _claims.parts.empty() ? _input.size() : _claims.parts.back().end;
        error = checkHead();
        for (const auto &part : _claims.parts) {
            if (!error.isError()) error = checkPart(part);
        }
        if (!error.isError() && _claims.isClosed) error = checkTail();
        return error;
    }

    QmxError runSound(const QString &path, qint64 first, qint64 end)
    {
        QmxError error = prepare(path);
        for (const auto &part : _claims.parts) {
            if (error.isError() || lastFrame(part) < first || part.firstFrame >= end) continue;
            _result.frames += qint64(part.pictures.size());
            qint64 at = part.slot + MovLayout::slotSize;
            for (const auto &picture : part.pictures)
                at += MovLayout::roundUp(picture.size);
            QByteArray bytes(qsizetype(part.soundBytes) + 4 * qsizetype(part.jumps), Qt::Uninitialized);
            error = _input.read(bytes.data(), bytes.size(), at);
            const quint32 sound = movCrc32c(bytes.constData(), part.soundBytes);
            const quint32 jumps = movCrc32c(bytes.constData() + part.soundBytes, size_t(part.jumps) * 4);
            if (sound != part.soundCrc) add(QmxClipCheck::Sound, part.firstFrame, lastFrame(part));
            if (part.link && jumps != part.jumpsCrc)
                add(QmxClipCheck::Timecode, part.firstFrame, lastFrame(part));
        }
        return error;
    }

private:
    static QmxError notOurs(const QString &path)
    {
        return {
            ENOTSUP,
            QStringLiteral("%1 was made by another program and carries nothing to check it by").arg(path)};
    }

    /// A clip that grows, is from before there were proofs, or has lost its own: as its slots have it.
    QmxError readSlots(bool hasTables)
    {
        QmxClipIndex bySlots;
        bySlots.setKeepFragments(true);
        bySlots.setOnlySlots(true);
        if (QmxError error = bySlots.load(_input, true); error.isError()) return error;
        if (!hasTables) _result.info = bySlots.info;
        for (const MovFragment &fragment : bySlots.fragments())
            _claims.parts.push_back(MovProof::partOf(fragment, bySlots.soundFrameBytes()));
        QByteArray header(MovLayout::headerSize, '\0');
        if (!_input.read(header.data(), header.size(), 0).isError()) _result.take = MovTake::read(header);
        // Every closed clip whose slots have links was given a proof.
        const bool hadProof = !_claims.parts.empty() && _claims.parts.front().link;
        if (_claims.isClosed && !hasTables) addTable("the tables at the end of the file");
        if (_claims.boxIsThere || (_claims.isClosed && hasTables && hadProof))
            addTable("the proof at the end of the file");
        return {};
    }

    bool told(const uchar *data, qint64 size)
    {
        _result.bytes += size;
        if (_tap) _tap(data, size);
        return !_pace || _pace(std::min(_result.bytes, _total), _total);
    }

    void addTable(const char *what) { add(QmxClipCheck::Table, -1, -1, shown(what)); }
    void add(QmxClipCheck::Kind kind, qint64 first, qint64 last, const QString &what = {})
    {
        const bool countsFrames = kind != QmxClipCheck::Table && kind != QmxClipCheck::Padding;
        _result.counts[kind] += countsFrames ? last - first + 1 : 1;
        for (auto one = _result.damage.rbegin(); first >= 0 && one != _result.damage.rend(); ++one) {
            if (one->kind != kind) continue;
            if (one->last != first - 1 || one->what != what) break;
            one->last = last;
            return;
        }
        if (_result.damage.size() < QmxClipCheck::mostListed)
            _result.damage.append({kind, first, last, what});
    }

    /// The checksum of the next bytes.
    QmxError sum(qint64 size, quint32 &crc, QmxBlake3 *hash = nullptr)
    {
        crc = 0;
        return _scan.pass(size, [&](const uchar *data, qint64 count) {
            crc = movCrc32c(data, size_t(count), crc);
            if (hash) hash->add(data, size_t(count));
        });
    }

    QmxError padding(qint64 until, const MovProof::Part &part)
    {
        bool isEmpty = true;
        QmxError error = _scan.pass(until - _scan.position(), [&](const uchar *data, qint64 count) {
            isEmpty = isEmpty && std::all_of(data, data + count, [](uchar byte) { return byte == 0; });
        });
        if (!isEmpty) add(QmxClipCheck::Padding, part.firstFrame, lastFrame(part));
        return error;
    }

    static qint64 lastFrame(const MovProof::Part &part)
    {
        return part.firstFrame + qint64(part.pictures.size()) - 1;
    }

    QmxError checkHead()
    {
        QByteArray header;
        QmxError error = _scan.pass(MovLayout::headerSize, [&](const uchar *data, qint64 count) {
            header.append(reinterpret_cast<const char *>(data), count);
        });
        if (error.isError()) return error;
        _chain.setLink(_claims.proof ? _claims.proof->first : MovProof::firstLink(header));
        if (!_claims.proof) return {};
        if (movCrc32c(header.constData(), size_t(header.size())) != _claims.proof->headerCrc)
            addTable("the head of the file");
        if (MovProof::firstLink(header) != _claims.proof->first) add(QmxClipCheck::Timecode, 0, 0);
        return {};
    }

    QmxError checkPart(const MovProof::Part &part)
    {
        if (part.firstFrame > _nextFrame) add(QmxClipCheck::Missing, _nextFrame, part.firstFrame - 1);
        _nextFrame = lastFrame(part) + 1;
        _result.frames += qint64(part.pictures.size());
        // What lies before it has been lost already when the clip was closed, or its slot is damaged.
        QmxError error = _scan.pass(part.slot - _scan.position(), [](const uchar *, qint64) {});
        quint32 crc = 0;
        if (!error.isError()) error = sum(MovLayout::slotSize, crc);
        if (error.isError()) return error;
        if (crc != part.slotCrc)
            add(QmxClipCheck::Table, part.firstFrame, lastFrame(part), shown("the record of half a second"));
        _isWhole = true;
        error = checkPictures(part);
        if (!error.isError()) error = checkSound(part);
        return error;
    }

    QmxError checkPictures(const MovProof::Part &part)
    {
        for (size_t i = 0; i < part.pictures.size(); ++i) {
            quint32 crc = 0;
            _hash.reset();
            QmxError error = sum(part.pictures[i].size, crc, &_hash);
            const qint64 frame = part.firstFrame + qint64(i);
            if (!error.isError()) error = padding(MovLayout::roundUp(_scan.position()), part);
            if (error.isError()) return error;
            _chain.addPicture(_hash.result());
            if (crc == part.pictures[i].crc) continue;
            _isWhole = false;
            add(QmxClipCheck::Picture, frame, frame);
        }
        return {};
    }

    QmxError checkSound(const MovProof::Part &part)
    {
        quint32 soundCrc = 0;
        quint32 jumpsCrc = 0;
        _hash.reset();
        QmxError error = sum(part.soundBytes, soundCrc, &_hash);
        if (!error.isError()) error = sum(4 * qint64(part.jumps), jumpsCrc, &_hash);
        if (!error.isError()) error = padding(part.end, part);
        if (error.isError()) return error;
        if (soundCrc != part.soundCrc) add(QmxClipCheck::Sound, part.firstFrame, lastFrame(part));
        if (part.link && jumpsCrc != part.jumpsCrc)
            add(QmxClipCheck::Timecode, part.firstFrame, lastFrame(part));
        const bool isWhole =
            _isWhole && soundCrc == part.soundCrc && (!part.link || jumpsCrc == part.jumpsCrc);
        const QmxBlake3::Digest link = _chain.endFragment(_hash.result());
        if (!part.link) return {};
        if (isWhole && link != *part.link) add(QmxClipCheck::Chain, part.firstFrame, lastFrame(part));
        _chain.setLink(*part.link);
        return {};
    }

    QmxError checkTail()
    {
        const auto skip = [](const uchar *, qint64) {};
        if (!_claims.proof) return _scan.pass(_input.size() - _scan.position(), skip);
        _hash.reset();
        quint32 crc = 0;
        QmxError error = _scan.pass(_claims.proof->moov - _scan.position(), skip);
        if (!error.isError()) error = sum(_claims.proof->moovSize, crc);
        if (!error.isError() && crc != _claims.proof->moovCrc) addTable("the tables at the end of the file");
        if (!error.isError()) error = sum(_claims.boxSize, crc, &_hash);
        if (!error.isError() && _hash.result() != _claims.box) addTable("the proof at the end of the file");
        if (!error.isError()) error = _scan.pass(_input.size() - _scan.position(), skip);
        return error;
    }

    QmxClipCheck &_result;
    const QmxEnvironment &_environment;
    const QmxClipCheck::Pace &_pace;
    const QmxClipCheck::Tap &_tap;
    MovInput _input{_environment};
    MovScan _scan;
    Claims _claims;
    MovChain _chain;
    QmxBlake3 _hash;
    qint64 _total = 0;
    qint64 _nextFrame = 0;
    bool _isWhole = true; ///< the checksums of the pictures of this part fit
};

} // namespace

QmxError QmxClipCheck::run(const QString &path, QmxClipCheck &result, const QmxEnvironment &environment,
                           const Pace &pace, const Tap &tap)
{
    return Check(result, environment, pace, tap).run(path);
}

QmxError QmxClipCheck::runSound(const QString &path, qint64 first, qint64 end, QmxClipCheck &result,
                                const QmxEnvironment &environment)
{
    return Check(result, environment, {}, {}).runSound(path, first, end);
}

bool QmxClipCheck::looksOurs(const void *head, qint64 size)
{
    constexpr qint64 type = 4; // of an atom, behind its size
    const auto *bytes = static_cast<const char *>(head);
    return size >= MovLayout::block && std::memcmp(bytes + type, "ftyp", 4) == 0 &&
           std::memcmp(bytes + MovLayout::moovPosition + type, "moov", 4) == 0;
}

QmxError QmxClipCheck::claims(const QString &path, QmxClipCheck &result, const QmxEnvironment &environment)
{
    return Check(result, environment, {}, {}).prepare(path);
}
