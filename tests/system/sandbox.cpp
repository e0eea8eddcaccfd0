// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/system/sandbox.h"

#include "platform/qmx/device/qmxstrip.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <algorithm>

Sandbox::Sandbox(const QStringList &options) : _options(options)
{
    QDir().mkpath(out());
}

void Sandbox::setProfile(const QByteArray &ini)
{
    writeAll(_dir.filePath("lumen.ini"), ini);
    _options << "--profile" << _dir.filePath("lumen.ini");
}

ProgramResult Sandbox::run(const QString &script, int realMs)
{
    QStringList arguments{"XP_ROOT=" XP_ROOT, "XP_BUILD=" XP_BUILD, "OUT=" + out(),
                          XP_ROOT "/scripts/sandbox.sh"};
    arguments << _options << "--"
              << "bash"
              << "-euc" << script;
    return runProgram("env", arguments, realMs);
}

QString Sandbox::out(const QString &name) const
{
    return _dir.filePath(name.isEmpty() ? QStringLiteral("out") : "out/" + name);
}

QList<std::optional<quint32>> stripsOf(const QString &clip)
{
    const ProgramResult size =
        runProgram("ffprobe", {"-v", "error", "-select_streams", "v:0", "-show_entries",
                               "stream=width,height", "-of", "csv=p=0", clip});
    const QList<QByteArray> numbers = size.out.trimmed().split(',');
    if (numbers.size() < 2) {
        return {};
    }
    const int width = numbers[0].toInt();
    const int height = numbers[1].toInt();
    const qsizetype bytes = qsizetype(width) * height;
    QProcess decode;
    decode.start("ffmpeg", {"-v", "error", "-i", clip, "-map", "0:v:0", "-vsync", "passthrough", "-vf",
                            "format=gray", "-f", "rawvideo", "-"});
    QList<std::optional<quint32>> strips;
    // A picture at a time: all of a take do not fit into memory.
    for (QByteArray frame; bytes > 0; frame.clear()) {
        while (frame.size() < bytes) {
            if (decode.bytesAvailable() == 0 && !decode.waitForReadyRead(-1)) return strips;
            frame += decode.read(bytes - frame.size());
        }
        strips.append(
            QmxStrip::readLuma8(reinterpret_cast<const uchar *>(frame.constData()), width, height, width));
    }
    return strips;
}

QString brokenAt(const QList<std::optional<quint32>> &strips)
{
    if (strips.isEmpty()) {
        return "no frames";
    }
    for (qsizetype i = 0; i < strips.size(); ++i) {
        if (!strips[i]) {
            return QStringLiteral("frame %1 has no strip").arg(i);
        }
        if (i > 0 && *strips[i] != *strips[i - 1] + 1) {
            return QStringLiteral("frame %1 carries %2 after %3").arg(i).arg(*strips[i]).arg(*strips[i - 1]);
        }
    }
    return {};
}

QString jsonField(const QByteArray &json, const QString &field)
{
    const QList<QByteArray> lines = json.trimmed().split('\n');
    return QJsonDocument::fromJson(lines.last()).object().value(field).toVariant().toString();
}
