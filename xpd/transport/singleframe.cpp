// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/singleframe.h"

#include "platform/qmx/core/qmxverify.h"

#include <QVariant>

SingleFrame::SingleFrame() : _stream(new QmxStream(this))
{
    QMX_VERIFY("singleframe", __LINE__,
               connect(_stream, SIGNAL(openIsDone(int, const QmxError &)), this,
                       SLOT(openIsDone(int, const QmxError &))));
    QMX_VERIFY("singleframe", __LINE__,
               connect(_stream, SIGNAL(readIsDone(int, const QmxFrame &, const QmxError &, void *)), this,
                       SLOT(readIsDone(int, const QmxFrame &, const QmxError &, void *))));
}

void SingleFrame::clear()
{
    _valid = false;
    _frame = QmxFrame();
    _info = QmxStreamInfo();
    _index = -1;
}

bool SingleFrame::load(int index, const QString &path)
{
    clear();
    _index = index;
    _stream->setDesc(QVariant(path));
    return _stream->open(QmxStream::Read);
}

void SingleFrame::openIsDone(int, const QmxError &error)
{
    if (error.isError()) {
        emit failed();
        return;
    }
    _info = _stream->info();
    _stream->read(_index, nullptr);
}

void SingleFrame::readIsDone(int, const QmxFrame &frame, const QmxError &error, void *)
{
    _stream->close();
    if (_index == -1) return; // forgotten while it was being read
    if (error.isError()) {
        emit failed();
        return;
    }
    _valid = true;
    _frame = frame;
    emit ready();
}
