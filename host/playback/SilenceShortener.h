#pragma once
// Shortens silence: of a pause of more than 0.4 s below -45 dBFS, 0.25 s are left, half from its beginning and half
// from its end, so that a voice keeps its fading and its breath. Threads as SoundFilter says.

#include "SoundFilter.h"

namespace vexa::host {

class SilenceShortener final : public SoundFilter {
public:
    SilenceShortener() : SoundFilter(kBlock) {}

private:
    // Seconds. A block is longer than a period of the deepest voice.
    static constexpr double kBlock = 0.015, kLongest = 0.4, kKept = 0.25, kFade = 0.01;

    void OnBlock(std::span<const float> block, FilteredSound& out) override;
    void OnDrain(FilteredSound& out) override { Release(out); }
    void OnReset() override;
    void Release(FilteredSound& out);
    std::size_t HeldFrames() const { return FHeld.size() / Channels(); }

    std::vector<float> FHeld;  // the silence so far; of a long one, the beginning and the end
    std::size_t FDropped = 0;  // frames between these
};

}  // namespace vexa::host
