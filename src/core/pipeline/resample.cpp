#include "core/pipeline/resample.hpp"

#include <soxr.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <exception>
#include <new>
#include <thread>
#include <vector>

namespace quorvel {

namespace {

constexpr std::int64_t kBlockFrames = 1 << 16;
constexpr std::size_t kSoxrHeadroom = std::size_t{16} << 20;

// The one configuration every resampling here uses; nullptr when libsoxr refuses the rates.
soxr_t makeSoxr(double fromRate, double toRate)
{
    // libsoxr leaves some of the allocations it makes while processing unchecked, so a
    // shortage there would crash. Make sure there is room for them first: a shortage
    // then fails here, as std::bad_alloc, and the file fails with "not enough memory".
    void* room = ::operator new(kSoxrHeadroom);
    static_cast<volatile char*>(room)[0] = 0; // keeps the allocation from being optimised away
    ::operator delete(room);
    const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_VHQ, 0);
    const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
    soxr_error_t error = nullptr;
    soxr_t soxr = soxr_create(fromRate, toRate, 1, &error, &io, &quality, &runtime);
    if (error) {
        soxr_delete(soxr);
        return nullptr;
    }
    return soxr;
}

// One libsoxr stream over a single channel. Channels are independent, so one stream per
// channel gives the same audio as one multi-channel stream, and lets them run in parallel.
class Soxr {
public:
    Soxr(double fromRate, double toRate) : soxr_(makeSoxr(fromRate, toRate)) {}
    ~Soxr() { soxr_delete(soxr_); }
    Soxr(const Soxr&) = delete;
    Soxr& operator=(const Soxr&) = delete;

    explicit operator bool() const { return soxr_ != nullptr; }

    // Streams `frames` input samples through, flushes, and hands the output to
    // emit(where, room) → where the next at most `room` frames go, and
    // landed(count) → how many arrived there. Stops at `wanted` frames: a flush may offer
    // one more than the exact length. False on a resampler error.
    template <class Emit, class Landed>
    bool run(const float* in, std::int64_t frames, std::int64_t wanted, Emit emit, Landed landed)
    {
        std::int64_t fed = 0, made = 0;
        bool flushing = frames == 0;
        while (made < wanted) {
            const std::int64_t room = std::min(kBlockFrames, wanted - made);
            const std::size_t inFrames = flushing ? 0 : static_cast<std::size_t>(std::min(kBlockFrames, frames - fed));
            std::size_t taken = 0, written = 0;
            const soxr_error_t error = soxr_process(soxr_, flushing ? nullptr : in + fed, inFrames,
                                                    flushing ? nullptr : &taken, emit(room),
                                                    static_cast<std::size_t>(room), &written);
            if (error)
                return false;
            fed += static_cast<std::int64_t>(taken);
            made += static_cast<std::int64_t>(written);
            landed(static_cast<std::int64_t>(written));
            if (flushing && written == 0)
                break; // the resampler has nothing more to give
            flushing = fed >= frames;
        }
        return true;
    }

private:
    soxr_t soxr_ = nullptr;
};

// Runs perChannel(c) for every channel, each on a thread of its own but the first, which
// runs on the caller's; true when all succeeded. What a channel's thread throws (no
// memory left) is thrown again on the caller's, as is a thread that cannot be started.
template <class PerChannel>
bool forEachChannel(std::int64_t channels, PerChannel perChannel)
{
    std::atomic<bool> ok{true};
    std::vector<std::exception_ptr> thrown(static_cast<std::size_t>(channels));
    {
        std::vector<std::jthread> others;
        for (std::int64_t c = 1; c < channels; ++c)
            others.emplace_back([&, c] {
                try {
                    if (!perChannel(c))
                        ok = false;
                } catch (...) {
                    thrown[static_cast<std::size_t>(c)] = std::current_exception();
                }
            });
        if (!perChannel(0))
            ok = false;
    }
    for (const std::exception_ptr& error : thrown)
        if (error)
            std::rethrow_exception(error);
    return ok;
}

} // namespace

std::int64_t resampledLength(std::int64_t frames, double fromRate, std::int64_t toRate)
{
    return static_cast<std::int64_t>(std::floor(static_cast<double>(toRate) / fromRate * static_cast<double>(frames)));
}

PcmBufferPtr resample(const PcmBufferPtr& buffer, std::int64_t toRate)
{
    if (!buffer)
        return nullptr;
    if (std::llround(buffer->sampleRate()) == toRate)
        return buffer;

    const std::int64_t wanted = resampledLength(buffer->frameLength(), buffer->sampleRate(), toRate);
    PcmBufferPtr out = PcmBuffer::make(static_cast<double>(toRate), buffer->channelCount(), wanted);
    if (!out)
        return nullptr;

    std::vector<std::int64_t> made(static_cast<std::size_t>(buffer->channelCount()), 0);
    const bool ok = forEachChannel(buffer->channelCount(), [&](std::int64_t c) {
        Soxr soxr(buffer->sampleRate(), static_cast<double>(toRate));
        std::int64_t& count = made[static_cast<std::size_t>(c)];
        return soxr && soxr.run(
                           buffer->channel(c), buffer->frameLength(), wanted,
                           [&](std::int64_t) { return out->channel(c) + count; },
                           [&](std::int64_t written) { count += written; });
    });
    if (!ok)
        return nullptr;
    out->setFrameLength(*std::min_element(made.begin(), made.end()));
    return out;
}

struct ResampleStream::State {
    soxr_t soxr = nullptr;
    std::int64_t wanted = 0;
    std::int64_t made = 0;
    std::vector<float> out;

    ~State() { soxr_delete(soxr); }

    // Hands over what one soxr_process call made, never passing `wanted`.
    bool step(const float* in, std::int64_t frames, std::int64_t& taken, std::int64_t& written, const Sink& sink)
    {
        const std::int64_t room = std::min(kBlockFrames, wanted - made);
        std::size_t inDone = 0, outDone = 0;
        if (soxr_process(soxr, in, static_cast<std::size_t>(frames), in ? &inDone : nullptr, out.data(),
                         static_cast<std::size_t>(room), &outDone))
            return false;
        taken = static_cast<std::int64_t>(inDone);
        written = static_cast<std::int64_t>(outDone);
        made += written;
        if (written > 0)
            sink(out.data(), written);
        return true;
    }
};

ResampleStream::ResampleStream(double fromRate, std::int64_t toRate, std::int64_t inputFrames)
    : state_(std::make_unique<State>())
{
    state_->soxr = makeSoxr(fromRate, static_cast<double>(toRate));
    state_->wanted = resampledLength(inputFrames, fromRate, toRate);
    if (state_->soxr)
        state_->out.resize(static_cast<std::size_t>(kBlockFrames));
}

ResampleStream::~ResampleStream() = default;
ResampleStream::ResampleStream(ResampleStream&&) noexcept = default;
ResampleStream& ResampleStream::operator=(ResampleStream&&) noexcept = default;

ResampleStream::operator bool() const { return state_ && state_->soxr; }

bool ResampleStream::push(const float* samples, std::int64_t frames, const Sink& sink)
{
    std::int64_t fed = 0;
    while (fed < frames && state_->made < state_->wanted) {
        std::int64_t taken = 0, written = 0;
        if (!state_->step(samples + fed, std::min(kBlockFrames, frames - fed), taken, written, sink))
            return false;
        if (taken == 0 && written == 0)
            return false; // neither input taken nor output made: it would never finish
        fed += taken; // output still held inside comes with the next push or the flush
    }
    return true;
}

bool ResampleStream::finish(const Sink& sink)
{
    while (state_->made < state_->wanted) {
        std::int64_t taken = 0, written = 0;
        if (!state_->step(nullptr, 0, taken, written, sink))
            return false;
        if (written == 0)
            break; // nothing more to give
    }
    return true;
}

} // namespace quorvel
