// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/asked.h"

#include <QJsonDocument>
#include <QProcessEnvironment>

namespace {
constexpr auto program = "/proc/self/exe";
constexpr qint64 longestLine = 256;
} // namespace

Asked::Asked(const char *variable, const QStringList &recorders, QStringList words, bool json) : _json(json)
{
    if (json) words.prepend("--json");
    for (const QString &recorder : recorders) {
        auto process = std::make_unique<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QString::fromLatin1(variable), recorder);
        process->setProcessEnvironment(environment);
        process->setProcessChannelMode(QProcess::MergedChannels);
        process->start(QString::fromLatin1(program), words);
        _processes.push_back(std::move(process));
    }
}

QList<qsizetype> Asked::awaitReady()
{
    QList<qsizetype> ready;
    for (size_t i = 0; i < _processes.size(); ++i) {
        QProcess &process = *_processes[i];
        while (!process.canReadLine() && process.waitForReadyRead(-1)) {}
        // (A refusal ends it; a line of its own says so first.)
        const QByteArray line = process.peek(longestLine).split('\n').first();
        const bool isReady =
            process.state() == QProcess::Running && (line == "ready" || line.contains("\"ready\":true"));
        if (!isReady) continue;
        process.readLine();
        ready.append(qsizetype(i));
    }
    return ready;
}

void Asked::begin(const QList<qsizetype> &indexes)
{
    constexpr int writtenWithin = 1000; // ms; a pipe that nobody has written to has room
    for (size_t i = 0; i < _processes.size(); ++i) {
        QProcess &process = *_processes[i];
        // (Not before it is asked for: there is no event loop here.)
        if (indexes.contains(qsizetype(i)) && process.write("go\n") > 0)
            process.waitForBytesWritten(writtenWithin);
        process.closeWriteChannel();
    }
}

QList<Asked::Answer> Asked::answers()
{
    QList<Answer> answers;
    for (const auto &process : _processes) {
        process->closeWriteChannel();
        process->waitForFinished(-1);
        Answer answer;
        const bool hasEnded =
            process->exitStatus() == QProcess::NormalExit && process->error() != QProcess::FailedToStart;
        answer.status = hasEnded ? process->exitCode() : int(ExitCode::Refused);
        const QByteArray output = process->readAll().trimmed();
        answer.text = QString::fromUtf8(output);
        if (_json) answer.result = QJsonDocument::fromJson(output.mid(output.lastIndexOf('\n') + 1)).object();
        answers.append(answer);
    }
    return answers;
}
