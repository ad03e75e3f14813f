#pragma once
// Makes quiet and loud voices equally loud: steers the level, an RMS over 0.4 s of sound, towards -18 dBFS by at most
// 12 dB up or down. A gain that falls takes 50 ms, one that rises 2 s. What is quieter than a voice leaves the gain as
// it is. No sample exceeds -1 dBFS. Threads as SoundFilter says.

#include "SoundFilter.h"

namespace vexa::host {

class VoiceLeveller final : public SoundFilter {
public:
    VoiceLeveller() : SoundFilter(kBlock) {}

private:
    static constexpr double kBlock = 0.005, kWindow = 0.4;  // s

    void OnBlock(std::span<const float> block, FilteredSound& out) override;
    void OnDrain(FilteredSound& out) override;
    void OnReset() override;
    void Steer(std::span<const float> block);
    void Release(double limitAtEnd, FilteredSound& out);

    std::vector<double> FPowers;  // of the last blocks that were no silence, in a ring
    std::size_t FNextPower = 0;
    double FGain = 0;          // dB
    std::vector<float> FHeld;  // a block with its gain that waits for the limit at its end, which the next one decides
    double FHeldLimit = 1;     // the factor that its loudest sample allows
    double FLimit = 1;         // the factor at its beginning
};

}  // namespace vexa::host
