#include "SilenceShortener.h"

#include <cmath>

namespace vexa::host {

namespace {

const double kSilentPower = std::pow(10.0, -45.0 / 10);

}  // namespace

void SilenceShortener::OnReset() {
    FHeld.clear();
    FDropped = 0;
}

void SilenceShortener::OnBlock(std::span<const float> block, FilteredSound& out) {
    if (!IsActive() || !(Power(block) < kSilentPower)) {  // a damaged sample, which is no number, is no silence
        Release(out);
        out.Samples.insert(out.Samples.end(), block.begin(), block.end());
        return;
    }
    FHeld.insert(FHeld.end(), block.begin(), block.end());
    // Hours of silence must not fill the memory. The end keeps what Release fades into.
    if (HeldFrames() < 2 * FramesOf(kLongest)) return;
    const std::size_t head = FramesOf(kKept) / 2, end = FramesOf(kKept) - head + FramesOf(kFade);
    const std::size_t dropped = HeldFrames() - head - end;
    const auto from = FHeld.begin() + static_cast<std::ptrdiff_t>(head * Channels());
    FHeld.erase(from, from + static_cast<std::ptrdiff_t>(dropped * Channels()));
    FDropped += dropped;
}

void SilenceShortener::Release(FilteredSound& out) {
    const std::size_t frames = HeldFrames();
    if (FDropped > 0 || frames > FramesOf(kLongest)) {
        const std::size_t head = FramesOf(kKept) / 2, tail = frames - (FramesOf(kKept) - head);
        const std::size_t fade = FramesOf(kFade);
        for (std::size_t i = 0; i < fade * Channels(); ++i) {
            const std::size_t frame = i / Channels();
            float& sample = FHeld[(head - fade) * Channels() + i];
            const float later = FHeld[(tail - fade) * Channels() + i];
            sample += (later - sample) * static_cast<float>(frame) / static_cast<float>(fade);
        }
        out.Cuts.push_back({out.Samples.size() / Channels() + head, tail - head + FDropped});
        FHeld.erase(FHeld.begin() + static_cast<std::ptrdiff_t>(head * Channels()),
                    FHeld.begin() + static_cast<std::ptrdiff_t>(tail * Channels()));
    }
    out.Samples.insert(out.Samples.end(), FHeld.begin(), FHeld.end());
    OnReset();
}

}  // namespace vexa::host
