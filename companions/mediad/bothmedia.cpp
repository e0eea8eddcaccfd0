// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/bothmedia.h"

#include "companions/mediad/clipcare.h"
#include "platform/product/clipplaces.h"

namespace {

QmxError carryOut(const MediaOrder &order, const std::string &folder, const QmxEnvironment &environment)
{
    const std::string path = folder + "/" + order.clip;
    if (order.verb == "delete") return deleteClip(path, environment);
    if (order.verb == "rename") return renameClip(path, folder + "/" + order.to, environment);
    return protectClip(path, order.verb == "protect", environment);
}

std::string done(const MediaOrder &order)
{
    if (order.verb == "delete") return " deleted";
    if (order.verb == "rename") return " renamed to " + order.to;
    return order.verb == "protect" ? " protected" : " no longer protected";
}

/// The folder of the second copy; empty: there is none.
std::string otherPlace(const MediaOrder &order, const MediaParameters &is, const QmxEnvironment &environment)
{
    if (!order.everywhere) return {};
    for (const std::string &folder : {is.mirror, is.active})
        if (!folder.empty() && folder != order.from &&
            isSameClip(order.from + "/" + order.clip, folder + "/" + order.clip, environment))
            return folder;
    return {};
}

} // namespace

QmxError onEveryMedium(const MediaOrder &order, const MediaParameters &is, const QmxEnvironment &environment,
                       std::string &text)
{
    const std::string other = otherPlace(order, is, environment);
    QmxError error = carryOut(order, order.from, environment);
    if (error.isError()) return error;
    const std::string first = order.from + "/" + order.clip;
    const std::string verb = order.verb == "delete" || order.verb == "rename" ? "has been" : "is";
    if (other.empty()) {
        text = first + " " + verb + done(order);
        return {};
    }
    const std::string second = other + "/" + order.clip;
    error = carryOut(order, other, environment);
    if (error.isError())
        return {error.value(), QStringLiteral("%1 %2%3; its second copy is as it was: %4")
                                   .arg(QString::fromStdString(first), QString::fromStdString(verb),
                                        QString::fromStdString(done(order)), error.toString())};
    text = first + " and its second copy " + second + (verb == "is" ? " are" : " have been") + done(order);
    return {};
}
