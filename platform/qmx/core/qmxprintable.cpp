// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxprintable.h"

QString qmxPrintable(QString text, qsizetype longest)
{
    if (text.size() > longest) text = text.left(longest - 3) + QStringLiteral("...");
    for (QChar &character : text) {
        if (character == u'\n' || character == u'\t')
            character = u' ';
        else if (character.category() == QChar::Other_Control)
            character = u'?';
    }
    return text;
}
