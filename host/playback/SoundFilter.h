#pragma once
// Filters of the sound, without GStreamer: a filter takes sound block by block, and gives it out changed and a little
// later. GStreamer's streaming thread, except for SetActive.

#include <atomic>
#include <cstddef>
#include <span>
#include <vector>

namespace vexa::host {

/// Samples from -1 to 1, those of a frame (one for each channel) next to each other.
struct FilteredSound {
    struct Cut {
        std::size_t At;       // the first frame of Samples after the cut
        std::size_t Removed;  // frames
    };
    std::vector<float> Samples;
    std::vector<Cut> Cuts;
};

class SoundFilter {
public:
    virtual ~SoundFilter() = default;

    /// While a filter is not active, the sound passes unchanged. Any thread.
    void SetActive(bool isActive) noexcept { FIsActive = isActive; }
    bool IsActive() const noexcept { return FIsActive; }

    /// `rate` is in frames per second. Nothing may be held: call Drain or Reset first.
    void SetFormat(int rate, int channels);
    /// Appends to `out` what is ready of the sound so far.
    void Process(std::span<const float> samples, FilteredSound& out);
    /// Appends everything that is held: the sound ends here, or goes on elsewhere.
    void Drain(FilteredSound& out);
    /// Forgets what is held.
    void Reset();

protected:
    explicit SoundFilter(double blockSeconds) : FBlockSeconds(blockSeconds) {}

    /// `block` has FBlockSeconds, or less at the end of the sound.
    virtual void OnBlock(std::span<const float> block, FilteredSound& out) = 0;
    virtual void OnDrain(FilteredSound& out) = 0;
    virtual void OnReset() = 0;

    std::size_t Channels() const noexcept { return FChannels; }
    std::size_t FramesOf(double seconds) const;
    /// The mean square of the samples.
    static double Power(std::span<const float> samples);

private:
    const double FBlockSeconds;
    std::atomic<bool> FIsActive{false};
    int FRate = 1;
    std::size_t FChannels = 1, FBlockSize = 1;  // samples
    std::vector<float> FPartial;                // the beginning of the next block
};

}  // namespace vexa::host
