#include "SoundFilter.h"

#include <algorithm>
#include <cmath>

namespace vexa::host {

std::size_t SoundFilter::FramesOf(double seconds) const {
    return static_cast<std::size_t>(std::max(1L, std::lround(seconds * FRate)));
}

double SoundFilter::Power(std::span<const float> samples) {
    double sum = 0;
    for (const float sample : samples) sum += static_cast<double>(sample) * sample;
    return samples.empty() ? 0 : sum / static_cast<double>(samples.size());
}

void SoundFilter::SetFormat(int rate, int channels) {
    FRate = rate;
    FChannels = static_cast<std::size_t>(channels);
    FBlockSize = FramesOf(FBlockSeconds) * FChannels;
    Reset();
}

void SoundFilter::Process(std::span<const float> samples, FilteredSound& out) {
    while (!samples.empty()) {
        if (FPartial.empty() && samples.size() >= FBlockSize) {
            OnBlock(samples.first(FBlockSize), out);
            samples = samples.subspan(FBlockSize);
            continue;
        }
        const auto taken = samples.first(std::min(samples.size(), FBlockSize - FPartial.size()));
        FPartial.insert(FPartial.end(), taken.begin(), taken.end());
        samples = samples.subspan(taken.size());
        if (FPartial.size() < FBlockSize) return;
        OnBlock(FPartial, out);
        FPartial.clear();
    }
}

void SoundFilter::Drain(FilteredSound& out) {
    if (!FPartial.empty()) OnBlock(FPartial, out);
    FPartial.clear();
    OnDrain(out);
}

void SoundFilter::Reset() {
    FPartial.clear();
    OnReset();
}

}  // namespace vexa::host
