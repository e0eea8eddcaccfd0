// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/clipverify.h"

#include "platform/product/clipscan.h"
#include "platform/qmx/clip/qmxclipcheck.h"
#include "platform/qmx/core/qmxcounted.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <vector>

namespace fs = std::filesystem;

namespace {

/// Of the report as text; a parameter of the store carries it.
constexpr qsizetype mostReport = 12000;

struct Listed
{
    std::string name;
    qint64 bytes = 0;
};

QmxError clipsOf(const std::string &folder, const std::string &clip, std::vector<Listed> &clips)
{
    std::error_code failed;
    fs::directory_iterator entry(folder, failed);
    for (const fs::directory_iterator end; !failed && entry != end; entry.increment(failed)) {
        const std::string name = entry->path().filename().string();
        std::error_code noFile;
        const auto bytes = entry->file_size(noFile);
        if (!noFile && (clip.empty() ? isClipName(name) : name == clip))
            clips.push_back({name, qint64(bytes)});
    }
    if (failed)
        return {failed.value(),
                QStringLiteral("%1 cannot be read: %2")
                    .arg(QString::fromLocal8Bit(folder), QString::fromStdString(failed.message()))};
    if (clips.empty() && !clip.empty() && fs::is_directory(folder + '/' + clip, failed))
        return {ENOTSUP, QStringLiteral("%1 is a folder; only a clip that is one file carries a proof")
                             .arg(QString::fromLocal8Bit(clip))};
    if (clips.empty() && !clip.empty())
        return {ENOENT, QStringLiteral("there is no clip %1 on %2")
                            .arg(QString::fromLocal8Bit(clip), QString::fromLocal8Bit(folder))};
    std::sort(clips.begin(), clips.end(), [](const Listed &a, const Listed &b) { return a.name < b.name; });
    return {};
}

/// Damaged clips in full, whole ones in short, as many as there is room for.
QJsonArray bounded(const QList<QJsonObject> &damaged, const QList<QJsonObject> &whole, int &leftOut)
{
    QJsonArray list;
    qsizetype size = 0;
    for (const auto *part : {&damaged, &whole})
        for (QJsonObject clip : *part) {
            qsizetype more = 0;
            while ((more = QJsonDocument(clip).toJson(QJsonDocument::Compact).size()) + size > mostReport) {
                QJsonArray damage = clip["damage"].toArray();
                if (damage.isEmpty()) break;
                for (qsizetype half = damage.size() / 2; damage.size() > half;)
                    damage.removeLast();
                clip["damage"] = damage;
                clip["damage_left_out"] = true;
            }
            if (size + more > mostReport) {
                ++leftOut;
                continue;
            }
            size += more;
            list.append(clip);
        }
    return list;
}

} // namespace

QmxError verifyClips(const std::string &folder, const std::string &clip, const QmxEnvironment &environment,
                     const std::function<bool(qint64, qint64)> &pace, VerifiedClips &result)
{
    std::vector<Listed> clips;
    if (QmxError error = clipsOf(folder, clip, clips); error.isError()) return error;
    qint64 total = 0;
    for (const Listed &one : clips)
        total += one.bytes;
    qint64 before = 0;
    int foreign = 0;
    QStringList lines;
    QList<QJsonObject> damaged;
    QList<QJsonObject> whole;
    for (const Listed &one : clips) {
        const QString name = QString::fromLocal8Bit(one.name);
        QmxClipCheck check;
        QmxError error = QmxClipCheck::run(
            QString::fromLocal8Bit(folder) + '/' + name, check, environment,
            [&](qint64 done, qint64) { return !pace || pace(before + std::min(done, one.bytes), total); });
        before += one.bytes;
        if (error.value() == ECANCELED || (error.isError() && !clip.empty())) return error;
        if (error.value() == ENOENT) continue; // deleted meanwhile
        if (error.value() == ENOTSUP || error.value() == ENODATA) {
            ++foreign;
            continue;
        }
        QJsonObject object{{"clip", name}};
        if (error.isError()) {
            object["is_whole"] = false;
            object["error"] = error.toString();
            damaged.append(object);
            lines += QStringLiteral("%1: %2").arg(name, error.toString());
            continue;
        }
        const QJsonObject all = check.toJson();
        const bool isShort = check.isWhole() && clip.empty();
        for (const QString &key : isShort ? QStringList{"is_whole", "frames", "chain"} : all.keys())
            object[key] = all[key];
        (check.isWhole() ? whole : damaged).append(object);
        if (!check.isWhole() || !clip.empty()) lines += QStringLiteral("%1: %2").arg(name, check.sentence());
    }
    if (clip.empty()) {
        lines.prepend(
            QStringLiteral("%1 of %2 %3 whole%4")
                .arg(whole.size())
                .arg(qmxCounted(whole.size() + damaged.size(), "clip"), whole.size() == 1 ? "is" : "are")
                .arg(foreign > 0 ? QStringLiteral("; %1 of other programs, or without a frame, were left out")
                                       .arg(foreign)
                                 : QString()));
    }
    int leftOut = 0;
    const QJsonArray list = bounded(damaged, whole, leftOut);
    result.report = {{"is_whole", damaged.isEmpty()},
                     {"checked", whole.size() + damaged.size()},
                     {"damaged", damaged.size()},
                     {"not_ours", foreign},
                     {"clips", list}};
    if (leftOut > 0) result.report["clips_left_out"] = leftOut;
    result.text = lines.join(QStringLiteral(". ")).toStdString();
    return {};
}
