// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxpictureconverter.h"
#include "platform/qmx/core/qmxtimecode.h"
#include "platform/qmx/edges/senderbounds.h"

#include <QString>

#include <functional>
#include <vector>

/// Opens what libavformat opens and decodes its best video and audio stream: pictures as Yuv422P10 at their
/// own size, sound at 48 kHz. Every call blocks; one thread. `interrupt` is asked now and then from inside
/// the calls, on that thread: true ends them with an error.
class QmxSourceDecoder
{
public:
    enum class Latency {
        Low,  ///< a live source: no frame of delay in the decoder, no reading ahead
        Ahead ///< a file: as fast as it goes
    };
    enum class Step {
        Video,   ///< picture(), timecode(), videoTime() are new
        Audio,   ///< audio(), audioTime() are new
        Nothing, ///< go on
        Changed, ///< the signal has another format now: open again
        End,
        Failed, ///< error()
    };

    QmxSourceDecoder(const QString &url, Latency latency, std::function<bool()> interrupt);
    ~QmxSourceDecoder();
    QmxSourceDecoder(const QmxSourceDecoder &) = delete;
    QmxSourceDecoder &operator=(const QmxSourceDecoder &) = delete;

    QmxError open();
    Step step();
    QmxError error() const { return _error; }

    bool hasAudio() const { return _audioStream >= 0; }
    /// Format of the signal; known with the first picture.
    QmxImageDesc desc() const { return _desc; }
    QmxPicture picture() const { return _picture; }
    /// Of the picture; not valid: the stream has none.
    QmxTimecode timecode() const { return _timecode; }
    /// The picture is torn: something of it, or of one that it builds on, did not arrive or makes no sense.
    bool isTorn() const { return _isTorn; }
    /// Pictures that should have come between the one before and this one.
    int missing() const { return _missing; }
    /// Presentation times in nanoseconds, of one time line.
    qint64 videoTime() const { return _videoTime; }
    qint64 audioTime() const { return _audioTime; }
    /// Interleaved samples, audioChannels() of them for each moment.
    const std::vector<qint32> &audio() const { return _audio; }
    int audioChannels() const { return _audioChannels; }
    /// Stretches the sound by so many samples over the next second.
    void compensateAudio(int samples);

private:
    QmxError openDecoder(int stream, QmxLibav::CodecContext &decoder) const;
    QmxError openStreams();
    Step receiveVideo();
    Step receiveAudio();
    Step readPacket();
    QmxVideoRate frameRate(bool interlaced) const;
    void findStartTimecode();
    void findTimecode(const AVFrame *frame);
    bool formatChanged(const AVFrame *frame, qint64 time);
    void noteDamage(const AVPacket *packet);
    bool judge(const AVFrame *frame);
    int gapBefore(const AVFrame *frame, qint64 time) const;
    qint64 timeOf(const AVFrame *frame, int stream, qint64 expected) const;
    void openResampler(const AVFrame *frame);

    struct CloseInput
    {
        void operator()(AVFormatContext *p) const { avformat_close_input(&p); }
    };
    QString _url;
    Latency _latency;
    std::function<bool()> _interrupt;
    SenderBounds _bounds; ///< first: the input asks it
    std::unique_ptr<AVFormatContext, CloseInput> _input;
    QmxLibav::CodecContext _video, _sound;
    QmxLibav::Resampler _resampler;
    QmxLibav::Packet _packet{av_packet_alloc()};
    QmxLibav::Frame _frame{av_frame_alloc()};
    QmxPictureConverter _converter;
    int _videoStream = -1;
    int _audioStream = -1;
    bool _draining = false;

    QmxError _error;
    QmxImageDesc _desc;
    QmxPicture _picture;
    QmxTimecode _timecode;
    qint64 _videoTime = 0, _audioTime = 0, _nextAudioTime = 0;
    bool _isTorn = false;
    int _missing = 0;
    bool _hasBegun = false; ///< a whole picture that builds on no other has come
    bool _damage = false;   ///< pictures are torn until such a one comes again
    int _tornRun = 0;       ///< pictures since then
    int _onTheWay = 0;      ///< pictures inside the decoder that the damage noted last may concern
    /// Of packets that were damaged and have not shown yet.
    int64_t _firstDamaged = AV_NOPTS_VALUE, _lastDamaged = AV_NOPTS_VALUE;
    std::vector<qint32> _audio;
    int _audioChannels = 0;
    int _resampledLayout = 0, _resampledRate = 0, _resampledFormat = -1;
    int _oddIntervals = 0; ///< pictures in a row whose distance is not the rate's
};
