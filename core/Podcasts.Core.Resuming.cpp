#include "Podcasts.Core.Resuming.h"

#include "Podcasts.Core.Reasons.h"
#include "VEXA.Runtime.Dates.h"

#include <array>
#include <atomic>
#include <cmath>

namespace podcasts {

using vexa::Reason;

namespace {

constexpr qint64 kMinProgress = 64 * 1024;        // bytes that make a transfer worth resuming
constexpr std::array kPauses = {1, 2, 4, 8, 15};  // units
constexpr int kMaxRestarts = 2;                   // for each download

std::atomic<std::int64_t> PauseUnit{1000};  // milliseconds

/// A validator that identifies one version of a file; empty when there is none. This is the ETag, unless it is weak;
/// without an ETag, Last-Modified, if that is at least a minute before the response's date: a file that changes twice
/// in a second has the same time for both versions (RFC 9110, section 8.8.2.2).
QByteArray StrongValidator(const vexa::HttpResponseInfo& response) {
    constexpr int kSecondsPerDay = 24 * 60 * 60;
    const QByteArray& tag = response.ETag;
    if (!tag.isEmpty()) return tag.size() >= 2 && tag.startsWith('"') && tag.endsWith('"') ? tag : QByteArray();
    const double changed = vexa::DecodeRfc822Date(QString::fromLatin1(response.LastModified));
    const double answered = vexa::DecodeRfc822Date(QString::fromLatin1(response.Date));
    const bool isOldEnough = std::round((answered - changed) * kSecondsPerDay) >= 60;
    return changed != 0 && answered != 0 && isOldEnough ? response.LastModified : QByteArray();
}

bool IsWhole(const vexa::HttpResponseInfo& response) {
    const auto& part = response.Part;
    return response.Status != 206 || (part && part->First == 0 && part->Last == part->Size - 1);
}

}  // namespace

void SetDownloadPauseUnit(std::chrono::milliseconds unit) {
    PauseUnit = unit.count();
}

bool TPodcastResumption::CanResume() const noexcept {
    return !FValidator.isEmpty() && FHeld >= kMinProgress;
}

void TPodcastResumption::Prepare(vexa::HttpGet& request) {
    FFirstRequested = CanResume() ? FHeld : 0;
    FHeldBefore = FHeld;
    FIsUnusable = false;
    request.FirstByte = FFirstRequested;
    request.IfRange = FFirstRequested > 0 ? FValidator : QByteArray();
}

TPodcastResumption::Answer TPodcastResumption::Accept(const vexa::HttpResponseInfo& response) {
    const QByteArray validator = StrongValidator(response);
    const auto& part = response.Part;
    const bool isRest = FFirstRequested > 0 && response.Status == 206 && part && part->First == FFirstRequested;
    if (isRest && validator == FValidator && (FSize == 0 || part->Size == FSize)) {
        FSize = part->Size;
        return Answer::Continues;
    }
    FIsUnusable = !IsWhole(response) || (FHasBegun && FRestarts == kMaxRestarts);
    if (FIsUnusable) return Answer::Unusable;
    if (FHasBegun) ++FRestarts;
    FHasBegun = true;
    FValidator = validator;
    FSize = response.Size;
    FHeld = FHeldBefore = 0;
    return Answer::Restarts;
}

void TPodcastResumption::Arrived(std::size_t size) {
    FHeld += static_cast<qint64>(size);
    FIsWorthwhile = FIsWorthwhile || FHeld >= kMinProgress;
    if (FSize > 0 && FHeld > FSize) throw vexa::ReasonError(Reason(CoreReason("MoreThanAnnounced")));
}

TPodcastResumption::Decision TPodcastResumption::Decide(const vexa::HttpErrorInfo& info) {
    using Kind = vexa::HttpErrorInfo::Kind;
    const bool isWhole = FSize > 0 ? FHeld == FSize : info.Succeeded();
    switch (info.What) {
        case Kind::Success:
        case Kind::Network:
            if (isWhole) return {Decision::Kind::Done};
            // A server may send less than the requested rest.
            return AfterBreak(info.Succeeded() ? Reason(CoreReason("EndedEarly")) : info.Why);
        case Kind::Refused:
            if (FIsUnusable) return RequestWholeFile(Reason(CoreReason("NotContinued")));
            break;
        case Kind::Status: {
            constexpr int kTooManyRequests = 429, kServerErrors = 500;
            if (info.Status >= kServerErrors) return AfterBreak(info.Why);
            if (FFirstRequested > 0 && info.Status != kTooManyRequests) return RequestWholeFile(info.Why);
            break;
        }
        default:
            break;
    }
    return {Decision::Kind::Failed, {}, info.Why};
}

TPodcastResumption::Decision TPodcastResumption::AfterBreak(const Reason& why) {
    if (FHeld - FHeldBefore >= kMinProgress) FPauses = 0;
    const bool mayRestart = FRestarts < kMaxRestarts;
    if (!FIsWorthwhile || FPauses == static_cast<int>(kPauses.size()) || !(CanResume() || mayRestart))
        return {Decision::Kind::Failed, {}, why};
    const int units = kPauses[static_cast<std::size_t>(FPauses++)];
    return {Decision::Kind::Again, std::chrono::milliseconds(units * PauseUnit.load())};
}

TPodcastResumption::Decision TPodcastResumption::RequestWholeFile(const Reason& why) {
    FValidator.clear();
    if (FRestarts == kMaxRestarts) return {Decision::Kind::Failed, {}, why};
    return {Decision::Kind::Again};
}

}  // namespace podcasts
