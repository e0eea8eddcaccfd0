// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/alarmvalue.h"
#include "platform/store/paramdescriptor.h"
#include "platform/store/redisaddress.h"
#include "platform/store/redisrow.h"
#include "platform/store/storesource.h"
#include "tests/fuzz/fuzz.h"

/// A row of the store, as any program may have written it; the values that it may hold; addresses of stores.

void Fuzz::writeSeeds(const QString &folder)
{
    StoredValue stored{StoreValue::fromData(alarmValue(AlarmSeverity::Error, "gone")), 7, storeSource("xpd"),
                       8};
    writeSeed(folder, "data", QByteArray::fromStdString(RedisRow::make(stored, RedisRow::thisOrigin())));
    stored.value = StoreValue::fromUnsigned(3);
    writeSeed(folder, "number", QByteArray::fromStdString(RedisRow::make(stored, "host/boot")));
    writeSeed(folder, "address", "//[::1]:6379,host:7000/master/one");
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    CreateDescriptors();
    const std::string text = Fuzz::text(data, size);
    StoredValue stored;
    StoredValue again;
    std::string origin;
    if (RedisRow::parse(text, stored, origin)) {
        const std::string made = RedisRow::make(stored, origin);
        Fuzz::mustHold(RedisRow::parse(made, again, origin) && again.value == stored.value,
                       "a row is read as it was made");
        storeSourceIsAlive(stored.source);
    }
    RedisAddress::parse(text);
    RedisAddress::parseSentinels(text);
    AlarmSeverity severity = AlarmSeverity::Information;
    std::string message;
    parseAlarmValue(text, severity, message);
    for (const ParamDescriptor *descriptor : AllDescriptors()) {
        StoreValue value;
        if (descriptor->parse(text, value, message))
            Fuzz::mustHold(descriptor->check(value, message), "what is read fits");
        descriptor->print(stored.value.kind == descriptor->valueKind() ? stored.value
                                                                       : descriptor->defaultValue());
    }
    return 0;
}
