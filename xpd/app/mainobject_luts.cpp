// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/file.h"
#include "platform/product/lututils.h"
#include "platform/qmx/core/qmxid.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmximagelut.h"
#include "platform/store/datafile.pb.h"
#include "platform/store/eparam.h"
#include "xpd/app/mainlog.h"
#include "xpd/app/mainobject.h"
#include "xpd/config/configinterface.h"
#include "xpd/transport/vtrobject.h"

#include <QByteArray>

namespace {

constexpr int lutEntries = 1024;
constexpr int lutMaximum = 1023; // 10 bits

constexpr const char *forceInvert = "XPD_FORCE_LUT_INVERT";

enum LutMode : quint32 { Off = 0, Input = 1, Output = 2 };

bool fileExists(const QString &path)
{
    // Of the product library: it does not wait for a medium that hangs.
    return !path.isEmpty() && kel::utils::file::File::file_exists(path.toStdString());
}

void fillInverted(QmxImageLut &lut)
{
    short *data = lut.lutData();
    for (int channel = 0; channel < 3; ++channel) {
        for (int i = 0; i < lutEntries; ++i)
            data[channel * lutEntries + i] = static_cast<short>(lutMaximum - i);
    }
}

struct ParseResult
{
    bool ok = false;
    int count = 0;
    QString error;
};

ParseResult parseInto(QmxImageLut &lut, const QString &path)
{
    ParseResult result;
    std::string error;
    short *first = lut.lutData();
    const int entries = lut.entries();
    result.ok = kel::utils::LUT_Utils::parse(path.toStdString(), first, first + entries, first + 2 * entries,
                                             entries, &result.count, error);
    result.error = QString::fromStdString(error);
    return result;
}

} // namespace

QString getLUTPath(const QByteArray &data)
{
    if (data.isEmpty()) return QString();
    kel::config::DataFile file;
    // A reference with something strange behind it still names its file.
    if (!file.ParseFromString(data.toStdString()) && file.path().empty()) return QString();
    const QString path = QString::fromStdString(file.path());
    return fileExists(path) ? path : QString();
}

void MainObject::loadLuts()
{
    if (!_vtr) return;
    quint32 mode = _config->getUInt32(eParam_LutPosition);
    const QString path = getLUTPath(_config->getData(eParam_LutFile));
    QmxImageLut lut(QmxIds::lookUpTable, lutEntries);

    if (mode == Off) {
        sendAlarm(QmxIds::alarmLutError, QmxAlarm::Clear, QString(), __LINE__);
    } else if (!fileExists(path)) {
        mode = Off;
    } else {
        lut.setFilename(path);
        if (qEnvironmentVariableIsSet(forceInvert))
            fillInverted(lut);
        else if (!parseLut(lut, path))
            mode = Off;
    }

    qmxLogText(QmxLogLevel::Info, mainObjectSource, __LINE__,
               QStringLiteral("LUT Enabled %1, LUT path '%2'").arg(QString::number(mode), path));
    const QmxImageLut empty;
    if (mode == Off)
        _vtr->setLuts(empty, empty);
    else if (mode == Input)
        _vtr->setLuts(lut, empty);
    else if (mode == Output)
        _vtr->setLuts(empty, lut);
}

bool MainObject::parseLut(QmxImageLut &lut, const QString &path)
{
    qmxLogText(QmxLogLevel::Info, mainObjectSource, __LINE__, QStringLiteral("Parsing %1 ").arg(path));
    const ParseResult result = parseInto(lut, path);
    if (!result.ok) {
        qmxLogText(QmxLogLevel::Error, mainObjectSource, __LINE__,
                   QStringLiteral("Parse of LUT '%1' failed: %2").arg(path, result.error));
        sendAlarm(QmxIds::alarmLutError, QmxAlarm::Error, QStringLiteral("LUT parse error"), __LINE__);
        return false;
    }
    if (result.count != lutEntries) {
        const QString expected = QString::number(lutEntries);
        const QString count = QString::number(result.count);
        qmxLogText(
            QmxLogLevel::Error, mainObjectSource, __LINE__,
            QStringLiteral("Parse of LUT '%1' returned unexpected number of entries.  Expected %2, Got %3")
                .arg(path, expected, count));
        sendAlarm(QmxIds::alarmLutError, QmxAlarm::Error,
                  QStringLiteral("Parse of LUT returned unexpected number of entries. Expected %1, found %2")
                      .arg(expected, count),
                  __LINE__);
        return false;
    }
    sendAlarm(QmxIds::alarmLutError, QmxAlarm::Clear, QString(), __LINE__);
    return true;
}
