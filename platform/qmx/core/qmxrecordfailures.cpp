// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxrecordfailures.h"

#include <QList>

struct QmxRecordFailures::Private
{
    QList<std::weak_ptr<Receiver>> receivers;
};

QmxRecordFailures::QmxRecordFailures() : d(std::make_unique<Private>()) {}
QmxRecordFailures::~QmxRecordFailures() = default;

std::shared_ptr<void> QmxRecordFailures::subscribe(Receiver receiver)
{
    auto token = std::make_shared<Receiver>(std::move(receiver));
    d->receivers.append(token);
    return token;
}

void QmxRecordFailures::report(const QString &path, const QmxError &error)
{
    d->receivers.removeIf([](const std::weak_ptr<Receiver> &receiver) { return receiver.expired(); });
    // A copy: a receiver may end its subscription, or another one's, or begin one.
    const QList<std::weak_ptr<Receiver>> receivers = d->receivers;
    for (const std::weak_ptr<Receiver> &receiver : receivers)
        if (const std::shared_ptr<Receiver> alive = receiver.lock()) (*alive)(path, error);
}
