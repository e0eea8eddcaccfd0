// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/figures.h"
#include "bench/storelistener.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {
constexpr int defaultSeconds = 60;

void print(const Figure &figure, bool json)
{
    if (json) {
        QJsonObject object{
            {"name", figure.name}, {"value", figure.value}, {"unit", figure.unit}, {"holds", figure.holds()}};
        if (figure.peer) {
            object["peer"] = *figure.peer;
            object["peer_name"] = figure.peerName;
            object["ratio"] = figure.ratio();
        }
        if (figure.target) object["target"] = *figure.target;
        std::printf("%s\n", QJsonDocument(object).toJson(QJsonDocument::Compact).constData());
    } else {
        const QString peer = figure.peer
                                 ? QStringLiteral("%1 %2").arg(*figure.peer, 0, 'g', 4).arg(figure.peerName)
                                 : QString();
        const QString ratio = figure.peer ? QString::number(figure.ratio(), 'g', 3) : QString();
        const QString target = figure.target ? QStringLiteral("<= %1").arg(*figure.target) : QString();
        const char *holds = !figure.target ? "" : figure.holds() ? "holds" : "DOES NOT HOLD";
        std::printf("%-28s %10.4g %-8s %-28s %7s %9s  %s\n", qPrintable(figure.name), figure.value,
                    qPrintable(figure.unit), qPrintable(peer), qPrintable(ratio), qPrintable(target), holds);
    }
    std::fflush(stdout);
}
} // namespace

int main(int argc, char **argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--listener") == 0) {
        QStringList role;
        for (int i = 2; i < argc; ++i)
            role << QString::fromLocal8Bit(argv[i]);
        return runStoreListener(role);
    }
    bool json = false;
    int seconds = defaultSeconds;
    QString wanted;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--json") == 0)
            json = true;
        else if (std::strcmp(argv[i], "--seconds") == 0 && i + 1 < argc)
            seconds = std::atoi(argv[++i]);
        else
            wanted = QString::fromLocal8Bit(argv[i]);
    }
    if (!json) {
        std::printf("%-28s %10s %-8s %-28s %7s %9s\n", "figure", "value", "unit", "peer or bound", "ratio",
                    "target");
    }
    bool allHold = true;
    bool found = false;
    for (const BenchRow &row : benchRows()) {
        if (!wanted.isEmpty() && wanted != QLatin1String(row.name)) continue;
        found = true;
        const QList<Figure> figures = row.run(seconds);
        for (const Figure &figure : figures) {
            print(figure, json);
            allHold = allHold && figure.holds();
        }
        if (!figures.isEmpty()) continue;
        // What could not be measured holds nothing.
        std::fprintf(stderr, "xp-bench: %s measured nothing\n", row.name);
        allHold = false;
    }
    if (!found) {
        std::fprintf(stderr, "no benchmark named %s; there are:\n", qPrintable(wanted));
        for (const BenchRow &row : benchRows())
            std::fprintf(stderr, "  %-14s %s\n", row.name, row.help);
        return 2;
    }
    return allHold ? EXIT_SUCCESS : EXIT_FAILURE;
}
