// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/takesequel.h"

#include "platform/product/clipnames.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"

#include <QDir>
#include <QFileInfo>

QStringList takeMayGoOnIn(const QString &path)
{
    // A name that is taken on the next medium is passed over there.
    constexpr int namesTried = 3;
    const QFileInfo clip(path);
    const QString root = QmxEnvironment::current().places->media;
    QStringList folders;
    for (const QString &folder : QDir(root).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        folders.append(root + '/' + folder);
    // The next medium is another one, as a rule.
    folders.removeAll(clip.path());
    folders.append(clip.path());
    QStringList found;
    std::string name = clip.fileName().toLocal8Bit().toStdString();
    for (int i = 0; i < namesTried; ++i) {
        name = clipNameWithNextRolloverIndex(name);
        for (const QString &folder : folders)
            found.append(folder + '/' + QString::fromLocal8Bit(name));
    }
    return found;
}
