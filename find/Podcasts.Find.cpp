#include "Podcasts.Find.h"

#include "Podcasts.Find.Reasons.h"
#include "VEXA.Runtime.Dates.h"
#include "VEXA.Runtime.Http.h"
#include "VEXA.Runtime.Log.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <atomic>
#include <bit>
#include <chrono>
#include <exception>
#include <future>
#include <optional>
#include <tuple>
#include <utility>

namespace podcasts {

using namespace std::chrono_literals;
using vexa::HttpErrorInfo;
using vexa::Reason;
using vexa::ReasonError;

namespace {

constexpr qint64 kMaxAnswer = 4 * 1024 * 1024;  // bytes, after decompression
constexpr auto kAnswerTimeout = 20s;
constexpr std::chrono::seconds kRest = 1h, kLongestRest = 24h;
constexpr auto kTolerableClockError = 30s;
constexpr qsizetype kMaxWords = 200;

struct Answer {
    HttpErrorInfo Outcome;
    QByteArray Body;
    QString MimeType;
};

Answer Ask(const QString& address, const QList<QByteArray>& headers, const vexa::CancelCheck& isCancelled) {
    Answer answer;
    vexa::HttpGet request;
    request.Url = address;
    request.Compressed = true;
    request.MaxBytes = kMaxAnswer;
    request.TotalTimeout = kAnswerTimeout;
    request.Headers = headers;
    request.OnAccepted = [&](const vexa::HttpResponseInfo& info) {
        answer.MimeType = info.MimeType;
        return true;
    };
    request.OnData = [&](const char* data, std::size_t size) {
        answer.Body.append(data, static_cast<qsizetype>(size));
        return true;
    };
    answer.Outcome = request.Run(isCancelled);
    return answer;
}

QString TimeOfDay(const QDateTime& time) {
    return time.toLocalTime().toString(QStringLiteral("HH:mm"));
}

/// A rest that is longer than any that is ever kept comes from a clock that was wrong.
bool Rests(const QDateTime& until, const QDateTime& now) {
    return until.isValid() && until > now && now.secsTo(until) <= kLongestRest.count();
}

}  // namespace

/// What the tasks of one search share. Constant but for the cancelled flag.
class TPodcastFinder::Search {
public:
    TPodcastFindOptions Options;
    QString Words;
    int Limit = 0;
    std::atomic<bool> IsCancelled{false};
    /// The identities of all subscribed feeds, by their present and former addresses.
    std::promise<QSet<QString>> KnownFeedsPromise;
    std::shared_future<QSet<QString>> KnownFeeds{KnownFeedsPromise.get_future()};

    // Main thread only.
    Events Told;
    std::size_t Unfinished = 0;
    QHash<QString, std::size_t> Places;  // of rows, by their identities
};

/// Reads the subscriptions while the directories are asked, so that a database that is busy delays no answer.
class TPodcastFinder::SubscriptionsTask final : public vexa::Task {
public:
    SubscriptionsTask(Subscriptions read, std::shared_ptr<Search> search)
        : FRead(std::move(read)), FSearch(std::move(search)) {}
    void Execute() override {
        QSet<QString> known;
        try {
            for (const QString& address : FRead()) known.insert(FeedIdentity(address));
        } catch (const std::exception& error) {
            qCWarning(vexa::LogHttp).noquote() << "cannot tell which podcasts are subscribed:" << error.what();
        }
        FSearch->KnownFeedsPromise.set_value(std::move(known));
    }

private:
    const Subscriptions FRead;
    const std::shared_ptr<Search> FSearch;
};

/// Asks one directory.
class TPodcastFinder::AskTask final : public vexa::Task {
public:
    AskTask(TPodcastFinder& finder, std::shared_ptr<Search> search, std::size_t directory)
        : FFinder(finder), FNow(finder.FNow), FSearch(std::move(search)), FDirectory(directory) {}

    void Execute() override {
        TPodcastDirectoryOutcome outcome;
        outcome.Directory = FDirectory;
        std::vector<TPodcastFindRow> rows;
        try {
            rows = Fetch(outcome);
        } catch (...) {
            outcome.Error = vexa::CaughtReason();
        }
        outcome.Rows = static_cast<int>(rows.size());
        if (FSearch->IsCancelled) return;
        // A search that has ended meanwhile is cancelled, so the finder is there when the search is not.
        vexa::RunInMainThread(
            [&finder = FFinder, search = FSearch, rows = std::move(rows), outcome]() mutable {
                if (!search->IsCancelled) finder.Deliver(search, std::move(rows), outcome);
            },
            false);
    }

private:
    std::vector<TPodcastFindRow> Fetch(TPodcastDirectoryOutcome& outcome) const {
        const TPodcastFindOptions& options = FSearch->Options;
        const TPodcastDirectory& directory = PodcastDirectories()[FDirectory];
        if (const QDateTime& until = options.Directories[FDirectory].RestsUntil; Rests(until, FNow())) {
            outcome.WasAsked = false;
            throw ReasonError(Reason(FindReasonText("FindResting"), {TimeOfDay(until)}));
        }

        Answer answer = AskAt(FNow());
        if (const auto skew = ClockError(answer.Outcome)) answer = AskAt(FNow().addSecs(skew->count()));
        if (const int status = answer.Outcome.Status;
            answer.Outcome.What == HttpErrorInfo::Kind::Status && (status == 403 || status == 429)) {
            outcome.RestsUntil = FNow().addSecs(std::clamp(answer.Outcome.RetryAfter, kRest, kLongestRest).count());
            throw ReasonError(
                Reason(FindReasonText("FindRefused"), {answer.Outcome.Why, TimeOfDay(outcome.RestsUntil)}));
        }
        answer.Outcome.RaiseIfFailed();
        auto rows = ReadPodcastAnswer(answer.Body, answer.MimeType, directory.Form, FSearch->Limit);
        const QSet<QString> known = FSearch->KnownFeeds.get();
        for (TPodcastFindRow& row : rows) {
            row.FirstDirectory = FDirectory;
            row.Directories = 1u << FDirectory;
            row.IsSubscribed = known.contains(FeedIdentity(row.Address));
        }
        return rows;
    }

    Answer AskAt(const QDateTime& now) const {
        const TPodcastFindOptions& options = FSearch->Options;
        const TPodcastDirectory& directory = PodcastDirectories()[FDirectory];
        const QString address = PodcastRequestAddress(directory, options.BaseOf(FDirectory), FSearch->Words,
                                                      FSearch->Limit, options.CountryOrDefault());
        const auto headers =
            directory.NeedsKey ? PodcastKeyHeaders(options.Key, options.Secret, now) : QList<QByteArray>();
        return Ask(address, headers, [this] { return FSearch->IsCancelled.load(); });
    }

    /// By how much this machine's clock is behind the directory's, if that may be why it has refused the key.
    std::optional<std::chrono::seconds> ClockError(const HttpErrorInfo& outcome) const {
        if (!PodcastDirectories()[FDirectory].NeedsKey || (outcome.Status != 401 && outcome.Status != 403)) return {};
        const double date = vexa::DecodeRfc822Date(QString::fromLatin1(outcome.Date));
        if (date == 0) return {};
        const std::chrono::seconds error(FNow().secsTo(vexa::FromOleDate(date)));
        return std::chrono::abs(error) > kTolerableClockError ? std::optional(error) : std::nullopt;
    }

    TPodcastFinder& FFinder;
    const Clock FNow;
    const std::shared_ptr<Search> FSearch;
    const std::size_t FDirectory;
};

TPodcastFinder::TPodcastFinder(Subscriptions subscriptions, Clock now)
    : FSubscriptions(std::move(subscriptions)), FNow(std::move(now)) {}

TPodcastFinder::~TPodcastFinder() {
    Cancel();
    for (const vexa::TaskHandle task : FTasks) vexa::WorkerPool::Cancel(task, true);
}

bool TPodcastFinder::IsRunning() const noexcept {
    return FSearch != nullptr;
}

void TPodcastFinder::Cancel() {
    VEXA_ASSERT_MAIN_THREAD();
    if (FSearch) FSearch->IsCancelled = true;
    FSearch.reset();
}

void TPodcastFinder::Find(const QString& words, int limit, const TPodcastFindOptions& options, Events events) {
    Cancel();
    FRows.clear();
    const QString asked = words.simplified().left(kMaxWords);
    std::vector<std::size_t> directories;
    bool takesAnyPart = false;
    for (std::size_t i = 0; i < kPodcastDirectoryCount; ++i) {
        if (!options.TakesPart(i)) continue;
        takesAnyPart = true;
        if (!asked.isEmpty() || PodcastDirectories()[i].PopularPath) directories.push_back(i);
    }
    if (directories.empty())
        throw ReasonError(Reason(takesAnyPart ? FindReasonText("FindNoPopular") : FindReasonText("FindNobody")));

    FSearch = std::make_shared<Search>();
    FSearch->Options = options;
    FSearch->Words = asked;
    FSearch->Limit = std::max(limit, 1);
    FSearch->Told = std::move(events);
    FSearch->Unfinished = directories.size();
    FTasks.push_back(vexa::WorkerPool::Run(std::make_unique<SubscriptionsTask>(FSubscriptions, FSearch)));
    for (const std::size_t directory : directories)
        FTasks.push_back(vexa::WorkerPool::Run(std::make_unique<AskTask>(*this, FSearch, directory)));
}

void TPodcastFinder::Deliver(const std::shared_ptr<Search>& search, std::vector<TPodcastFindRow> rows,
                             const TPodcastDirectoryOutcome& outcome) {
    // A callback may end the search, and with it this object.
    for (const std::size_t place : Unite(*search, std::move(rows))) {
        if (search->Told.Found) search->Told.Found(place);
        if (search->IsCancelled) return;
    }
    if (search->Told.DirectoryDone) search->Told.DirectoryDone(outcome);
    if (search->IsCancelled || --search->Unfinished > 0) return;
    search->IsCancelled = true;
    FSearch.reset();
    if (search->Told.Completed) search->Told.Completed();
}

std::vector<std::size_t> TPodcastFinder::Unite(Search& search, std::vector<TPodcastFindRow> rows) {
    std::vector<std::size_t> changed;
    for (TPodcastFindRow& row : rows) {
        const QString identity = FeedIdentity(row.Address);
        const auto place = search.Places.constFind(identity);
        if (place == search.Places.constEnd()) {
            search.Places.insert(identity, FRows.size());
            changed.push_back(FRows.size());
            FRows.push_back(std::move(row));
            continue;
        }
        TPodcastFindRow& known = FRows[*place];
        if ((known.Directories & row.Directories) != 0) continue;  // one directory names it twice
        known.Directories |= row.Directories;
        known.Rank = std::min(known.Rank, row.Rank);
        for (const auto field : {&TPodcastFindRow::Author, &TPodcastFindRow::Description, &TPodcastFindRow::Picture})
            if ((known.*field).isEmpty()) known.*field = row.*field;
        known.EpisodeCount = std::max(known.EpisodeCount, row.EpisodeCount);
        if (row.Newest.isValid() && !(known.Newest >= row.Newest)) known.Newest = row.Newest;
        changed.push_back(*place);
    }
    return changed;
}

std::vector<TPodcastFindRow> TPodcastFinder::RankedRows() const {
    std::vector<TPodcastFindRow> ranked = FRows;
    // Those at one place: first those that more directories know, then in the directories' order.
    const auto order = [](const TPodcastFindRow& row) {
        return std::tuple(row.Rank, -std::popcount(row.Directories), row.Directories);
    };
    std::stable_sort(ranked.begin(), ranked.end(), [&](auto& a, auto& b) { return order(a) < order(b); });
    return ranked;
}

}  // namespace podcasts
