#include "VoiceLeveller.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace vexa::host {

namespace {

constexpr double kTarget = -18, kMostGain = 12, kGate = -50;          // dBFS, dB, dBFS
constexpr double kAttack = 0.05, kRelease = 2, kLimitRelease = 0.05;  // time constants in s
constexpr double kNoGain = 0.01;                                      // dB; nobody hears less
const double kCeiling = std::pow(10.0, -1.0 / 20);

double Decibels(double power) {
    return 10 * std::log10(power);
}

double Factor(double decibels) {
    return std::pow(10.0, decibels / 20);
}

/// The share of the way that is done in `seconds`.
double Share(double seconds, double timeConstant) {
    return 1 - std::exp(-seconds / timeConstant);
}

/// Multiplies the frames by factors that go evenly from `first` to `last`.
void Ramp(std::vector<float>& samples, std::size_t channels, double first, double last) {
    const std::size_t frames = samples.size() / channels;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const std::size_t frame = i / channels;
        const double share = static_cast<double>(frame) / static_cast<double>(frames);
        samples[i] *= static_cast<float>(first + (last - first) * share);
    }
}

}  // namespace

void VoiceLeveller::OnReset() {
    FPowers.clear();
    FNextPower = 0;
    FGain = 0;
    FHeld.clear();
    FHeldLimit = FLimit = 1;
}

/// Sets the gain that the block ends with.
void VoiceLeveller::Steer(std::span<const float> block) {
    if (!IsActive()) {  // no click when it is switched off
        FPowers.clear();
        FNextPower = 0;
        FGain -= FGain * Share(kBlock, kAttack);
        return;
    }
    const double power = Power(block);
    if (!(power > 0) || Decibels(power) < kGate) return;  // also for a damaged sample, which is no number
    constexpr auto kPowers = static_cast<std::size_t>(kWindow / kBlock);
    if (FPowers.size() < kPowers)
        FPowers.push_back(power);
    else
        FPowers[FNextPower] = power;
    FNextPower = (FNextPower + 1) % kPowers;
    const double mean = std::accumulate(FPowers.begin(), FPowers.end(), 0.0) / static_cast<double>(FPowers.size());
    const double wanted = std::clamp(kTarget - Decibels(mean), -kMostGain, kMostGain);
    FGain += (wanted - FGain) * Share(kBlock, wanted < FGain ? kAttack : kRelease);
}

void VoiceLeveller::OnBlock(std::span<const float> block, FilteredSound& out) {
    if (!IsActive() && std::abs(FGain) < kNoGain) {
        OnDrain(out);
        OnReset();
        out.Samples.insert(out.Samples.end(), block.begin(), block.end());
        return;
    }
    const double gain = FGain;
    Steer(block);
    std::vector<float> levelled(block.begin(), block.end());
    Ramp(levelled, Channels(), Factor(gain), Factor(FGain));
    float peak = 0;
    for (const float sample : levelled) peak = std::max(peak, std::abs(sample));
    const double limit = peak > kCeiling ? kCeiling / peak : 1;
    // A limit at the seam of two blocks that both allow it makes every factor in between allowed, too.
    if (FHeld.empty())
        FLimit = limit;
    else
        Release(std::min({FHeldLimit, limit, FLimit + (1 - FLimit) * Share(kBlock, kLimitRelease)}), out);
    FHeld = std::move(levelled);
    FHeldLimit = limit;
}

void VoiceLeveller::OnDrain(FilteredSound& out) {
    if (!FHeld.empty()) Release(std::min(FLimit, FHeldLimit), out);
}

void VoiceLeveller::Release(double limitAtEnd, FilteredSound& out) {
    Ramp(FHeld, Channels(), FLimit, limitAtEnd);
    const auto ceiling = static_cast<float>(kCeiling);
    for (const float sample : FHeld) out.Samples.push_back(std::clamp(sample, -ceiling, ceiling));  // rounding
    FHeld.clear();
    FLimit = limitAtEnd;
}

}  // namespace vexa::host
