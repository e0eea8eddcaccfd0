// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/device/devicebench.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "tests/support/stepper.h"

#include <array>
#include <cerrno>
#include <cstring>

namespace {
constexpr int width = 64;
constexpr int height = 32;
/// The codec table has no argument for its user: one bench at a time.
std::weak_ptr<BenchEdges> current;

class BenchSource : public QmxSource
{
public:
    using Take = std::function<QmxSourceFrame(const QmxTick &)>;
    explicit BenchSource(
        Take take, std::function<void()> ends = [] {})
        : _take(std::move(take)), _ends(std::move(ends))
    {}
    ~BenchSource() override { _ends(); }
    QmxSourceFrame take(const QmxTick &tick) override { return _take(tick); }
    QString statusText() const override { return {}; }

private:
    Take _take;
    std::function<void()> _ends;
};

class MemorySink : public QmxSink
{
public:
    explicit MemorySink(std::shared_ptr<BenchEdges> edges) : _edges(std::move(edges)) {}
    void show(const QmxOutputFrame &frame) override
    {
        std::lock_guard lock(_edges->mutex);
        _edges->shown.append(frame);
    }
    QString statusText() const override { return {}; }

private:
    std::shared_ptr<BenchEdges> _edges;
};

class NumberEncoder : public QmxVideoEncoder
{
public:
    QmxError encode(const QmxPicture &picture, QmxBuffer &coded) override
    {
        const int number = DeviceBench::numberOf(picture);
        const auto edges = current.lock();
        std::lock_guard lock(edges->mutex);
        edges->coded.append(number);
        if (number == edges->failCoding) return QmxError(EIO);
        coded = QmxBuffer::copyOf(&number, sizeof number);
        return {};
    }
};

class NumberDecoder : public QmxVideoDecoder
{
public:
    QmxError decode(const QmxBuffer &coded, QmxPicture &picture) override
    {
        int number = 0;
        std::memcpy(&number, coded.constData(), sizeof number);
        const auto edges = current.lock();
        std::lock_guard lock(edges->mutex);
        edges->decoded.append(number);
        if (number == edges->failDecoding) return QmxError(EIO);
        _damaged = int(edges->damagedDecoding.count(number));
        picture = DeviceBench::picture(number);
        return {};
    }
    int damagedParts() const override { return _damaged; }

private:
    int _damaged = 0;
};

const QmxCodecRow numberCodec = {QmxId(202),
                                 "numbers",
                                 "numb",
                                 QmxPicture::Format::Yuv422P10,
                                 [](const QmxImageDesc &) -> std::unique_ptr<QmxVideoEncoder> {
                                     return std::make_unique<NumberEncoder>();
                                 },
                                 [](const QmxImageDesc &) -> std::unique_ptr<QmxVideoDecoder> {
                                     return std::make_unique<NumberDecoder>();
                                 }};
} // namespace

LumenOptions DeviceBench::keeping(const std::shared_ptr<BenchEdges> &edges, const QString &profile)
{
    LumenOptions options;
    options.profile = LumenProfile::parse(profile, "bench");
    options.createSink = [edges](const QString &, const QmxEnvironment &) {
        return std::make_unique<MemorySink>(edges);
    };
    return options;
}

LumenOptions DeviceBench::options(const QString &text) const
{
    LumenOptions options = keeping(edges, text);
    options.createSource = [edges = edges](const QString &locator,
                                           const QmxEnvironment &) -> std::unique_ptr<QmxSource> {
        std::lock_guard lock(edges->mutex);
        ++edges->created;
        if (locator == QLatin1String("none:"))
            return std::make_unique<BenchSource>([](const QmxTick &) { return QmxSourceFrame(); },
                                                 [edges] {
                                                     std::lock_guard guard(edges->mutex);
                                                     edges->ended = std::this_thread::get_id();
                                                 });
        return std::make_unique<BenchSource>([edges](const QmxTick &tick) {
            std::lock_guard guard(edges->mutex);
            return edges->script ? edges->script(tick) : good(tick);
        });
    };
    options.createGenerator = [](const QmxImageDesc &, const QmxId &, const QmxId &, const QmxEnvironment &) {
        return std::make_unique<BenchSource>([](const QmxTick &tick) {
            QmxSourceFrame frame = good(tick, tick.rate.timecodeRate());
            frame.picture = picture(9000 + int(tick.index));
            return frame;
        });
    };
    options.codec = [](const QmxId &type) { return type.value() == 202 ? &numberCodec : nullptr; };
    return options;
}

DeviceBench::DeviceBench(const QString &text)
{
    current = edges;
    device = std::make_unique<QmxVideoDevice>(options(text), nullptr);
    connectSignals();
}

DeviceBench::~DeviceBench()
{
    device.reset();
}

void DeviceBench::connectSignals()
{
    const auto note = [this](const char *name) { _signals.append(QLatin1String(name)); };
    QmxVideoDevice *d = device.get();
    QObject::connect(d, &QmxVideoDevice::vbi, [=, this](const QmxVbiInfo &info) {
        note("vbi");
        vbis.append(info);
        if (onVbi) onVbi();
    });
    QObject::connect(d, &QmxVideoDevice::setupIsDone, [=] { note("setup"); });
    QObject::connect(d, &QmxVideoDevice::hardwareStarted, [=] { note("started"); });
    QObject::connect(d, &QmxVideoDevice::frameDropped, [=] { note("dropped"); });
    QObject::connect(d, &QmxVideoDevice::playedKeyFrame, [=, this](const QmxMetadataHash &meta) {
        _signals.append(QStringLiteral("key %1").arg(meta.value(QmxId(1)).toInt()));
    });
    QObject::connect(d, &QmxVideoDevice::flushed, [=, this](const QmxMetadataHash &meta) {
        note("flushed");
        flushed.append(meta);
    });
    QObject::connect(d, &QmxVideoDevice::inputChanged, [=, this](int, const QmxVideoState &state) {
        note(state.isValid() ? "input valid" : "input gone");
        states.append(state);
        if (onInput) onInput();
    });
    QObject::connect(d, &QmxVideoDevice::inputAncDataChanged, [=] { note("anc"); });
    QObject::connect(d, &QmxVideoDevice::readFromHardwareFailed, [=] { note("read failed"); });
    QObject::connect(d, &QmxVideoDevice::writeToHardwareFailed, [=] { note("write failed"); });
    QObject::connect(d, &QmxVideoDevice::alarmTriggered,
                     [this](const QmxAlarm &alarm) { alarms.append(alarm); });
}

QmxImageDesc DeviceBench::format(int rate, int scanMode)
{
    QmxImageDesc desc;
    desc.setSize(width, height);
    desc.setAspectRatio(2, 1);
    desc.setFrameRate(QmxVideoRate(rate));
    desc.setScanMode(scanMode);
    desc.setDataType(QmxId(202));
    return desc;
}

QmxVideoDeviceSetup DeviceBench::setupFor(const QmxImageDesc &desc, int channels, int mode)
{
    QmxVideoDeviceSetup setup;
    setup.setMode(mode);
    setup.setImageDesc(desc);
    QmxAudioDesc audio;
    audio.setDataType(QmxId(408));
    audio.setChannels(channels);
    audio.setSampleRate(48000, 1);
    audio.setFrameRate(desc.frameRate());
    setup.setAudioDesc(audio);
    setup.setVideoInputSource(QmxId(601));
    setup.setAudioInputSource(QmxId(52));
    setup.setTimecodeInputSource(QmxId(1500));
    setup.setMaxBuffers(40);
    return setup;
}

QmxVideoDeviceSetup DeviceBench::captureSetup(int rate)
{
    return setupFor(format(rate));
}

QmxVideoDeviceSetup DeviceBench::playbackSetup(int rate)
{
    return setupFor(format(rate), 2, 1);
}

QmxSourceFrame DeviceBench::good(const QmxTick &tick, int rate)
{
    QmxSourceFrame frame;
    frame.state.setValid(true);
    frame.state.setPresent(true);
    frame.state.setInputImageDesc(format(rate));
    frame.state.setCaptureImageDesc(format(rate));
    frame.picture = picture(int(tick.index));
    frame.timecode = QmxTimecode(int(tick.index), rate, false);
    return frame;
}

QmxPicture DeviceBench::picture(int number)
{
    QmxPicture picture = QmxPicture::allocate(QmxPicture::Format::Yuv422P10, QSize(width, height));
    picture.fillBlack();
    picture.row(0, 0)[0] = quint16(number);
    return picture;
}

int DeviceBench::numberOf(const QmxPicture &picture)
{
    return picture.isValid() ? picture.row(0, 0)[0] : 0;
}

int DeviceBench::numberOf(const QmxFrame &frame)
{
    int number = 0;
    const QmxBuffer buffer = frame.vids().value(0).buffers().value(0);
    if (buffer.isValid()) std::memcpy(&number, buffer.constData(), sizeof number);
    return number;
}

void DeviceBench::setup(const QmxVideoDeviceSetup &setup)
{
    device->setup(setup);
    Stepper::deliver();
}

void DeviceBench::setRecord(bool on)
{
    device->setProperty(QmxId(22), QVariant::fromValue(QmxId(on ? 1606 : 1601)));
}

QmxFrame DeviceBench::frame(int number, bool hold, bool key)
{
    QmxFrame &known = _frames[number];
    if (known.vids().isEmpty()) {
        known.vids().append(QmxImage(format(), {QmxBuffer::copyOf(&number, sizeof number)}));
        known.meta().insert(QmxId(1), number);
        known.meta().insert(QmxId(12), QVariant::fromValue(QmxTimecode(number, 25, false)));
    }
    QmxFrame frame = known;
    frame.setOrigin(QmxEnvironment::current().deck->playhead.origin());
    frame.meta().insert(QmxId(14), hold);
    frame.setKeyFrameFlag(key);
    return frame;
}

void DeviceBench::play(int first, int last, bool hold)
{
    for (int number = first; number <= last; ++number)
        device->writeFrame(frame(number, hold));
}

QList<QmxFrame> DeviceBench::readAll()
{
    QList<QmxFrame> frames;
    while (device->framesReadable() > 0) {
        frames.append(QmxFrame());
        device->readFrame(frames.last());
    }
    return frames;
}

QList<int> DeviceBench::readNumbers()
{
    QList<int> numbers;
    const QList<QmxFrame> frames = readAll();
    for (const QmxFrame &frame : frames)
        numbers.append(numberOf(frame));
    return numbers;
}

QList<int> DeviceBench::takeShown()
{
    std::lock_guard lock(edges->mutex);
    QList<int> numbers;
    for (const QmxOutputFrame &output : std::as_const(edges->shown))
        numbers.append(numberOf(output.picture));
    edges->shown.clear();
    return numbers;
}

QStringList DeviceBench::takeSignals(bool withVbi)
{
    QStringList taken;
    taken.swap(_signals);
    if (!withVbi) taken.removeAll(QStringLiteral("vbi"));
    return taken;
}
