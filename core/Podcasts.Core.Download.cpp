#include "Podcasts.Core.Reasons.h"
#include "Podcasts.Core.Resuming.h"
#include "Podcasts.Core.TargetFile.h"
#include "Podcasts.Core.Tasks.h"
#include "VEXA.Runtime.FileTypes.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Http.h"
#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Reasons.h"
#include "VEXA.Runtime.Url.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <thread>

namespace podcasts {

using vexa::Reason;

namespace {

using Clock = std::chrono::steady_clock;

/// Whether a type is one that servers send in place of audio: login pages, and error messages with status 200.
bool IsPageType(const QString& mimeType) {
    return mimeType == u"text/html" || mimeType == u"application/json";
}

enum class Body { Undecided, Audio, WebPage };

/// Determines the kind of a response from its type and its first bytes; Undecided when there are too few bytes. The
/// bytes take precedence, because some servers send everything as text/html.
Body JudgeBody(const QString& mimeType, const QByteArray& start, bool isWhole) {
    constexpr qsizetype kMaxSignatureLength = 8, kMaxPrologueLength = 4096;  // bytes
    if (vexa::BeginsLikeMedia(start)) return Body::Audio;
    if (IsPageType(mimeType)) return isWhole || start.size() >= kMaxSignatureLength ? Body::WebPage : Body::Undecided;
    if (vexa::BeginsLikeHtmlPage(start)) return Body::WebPage;
    const QByteArrayView text = QByteArrayView(start).trimmed();
    const bool mayBePage = text.isEmpty() || text.startsWith('<') || text.startsWith('\xEF');  // a byte-order mark
    return mayBePage && !isWhole && start.size() < kMaxPrologueLength ? Body::Undecided : Body::Audio;
}

/// The name with the extension for the response's type.
QString WithExtensionOf(const QString& mimeType, QString fileName) {
    const QString present = vexa::KnownExtension(fileName);
    const bool isUnspecific = vexa::IsUnspecificMimeType(mimeType) || IsPageType(mimeType);
    if (isUnspecific && vexa::IsMediaExtension(present)) return fileName;
    const QString extension = isUnspecific ? QStringLiteral(".mp3") : vexa::ExtensionOfMimeType(mimeType);
    if (extension.isEmpty()) return fileName;
    const qsizetype length = present.size() - 1;  // without the dot
    if (length == 3 || length == 4) fileName.chop(length + 1);
    return fileName + extension;
}

/// "name.mp3", "name (2).mp3", "name (3).mp3", …
QString NumberedName(const QString& fileName, int number) {
    if (number == 1) return fileName;
    const QString extension = vexa::KnownExtension(fileName);
    return fileName.chopped(extension.size()) + u" (" + QString::number(number) + u")" + extension;
}

void CreateFolderOf(const QString& fileName) {
    const QString folder = QFileInfo(fileName).path();
    if (!QDir().mkpath(folder)) {
        throw vexa::ReasonError(Reason(CoreReason("CannotCreateFolder"), {folder}));
    }
}

}  // namespace

struct TPodcastClientTaskDownloadEpisodes::Download {
    QString EpisodeKey;
    QString Caption;
    QString URL;
    QString FileName;  // according to the template; the extension may change when the response arrives
    std::unique_ptr<TPodcastEpisode> Episode;
    TPodcastResumption Resumption;
    QString MimeType;
    QByteArray Start;      // the start of the body, until it is long enough to tell audio from a page
    bool IsAudio = false;  // the body was recognised as audio
    QString WantedName;    // the file's name without a number
    TPodcastTargetFile File;
    bool IsRecordBlanked = false;  // the row recorded a missing file, and that record was removed
    QString FileOfAnother;         // the file that another download of the episode has completed meanwhile
    bool IsStored = true;          // whether the episode was stored at the last check
    Clock::time_point NextLook{};
};

void TPodcastClientTaskDownloadEpisodes::Execute() {
    QString key;
    while (!IsCancelled() && FClient.DownloadQueue().Pop(key)) {
        TPodcastDownloadOutcome outcome{key, {}, {}};
        try {
            Download download;
            download.EpisodeKey = key;
            if (PrepareDownload(download, outcome)) {
                Transfer(download, outcome);
                if (!outcome.Error) FClient.DeleteFilesBeyondLimits();
            }
        } catch (const std::exception& error) {
            outcome.Error = vexa::ReasonOf(error);
            FClient.FDownloadOutcomes.Add(outcome);
            FClient.FKeptQueue->Remove({key});
            throw;
        }
        // If it is cancelled, the completion knows whether the user has done that, or the program's end.
        if (!IsCancelled()) FClient.FKeptQueue->Remove({key});
        if (outcome.Error && !IsCancelled())
            qCWarning(vexa::LogDownload).noquote() << "cannot download an episode:" << outcome.Error.English();
        FClient.FDownloadOutcomes.Add(std::move(outcome));
    }
}

bool TPodcastClientTaskDownloadEpisodes::PrepareDownload(Download& download, TPodcastDownloadOutcome& outcome) {
    TPodcastsDB& db = FClient.DB();
    download.Episode = db.GetEpisode(download.EpisodeKey);
    const auto feed = download.Episode ? db.GetFeed(download.Episode->FeedID, false) : nullptr;
    if (!feed) {
        outcome.Error = Reason(CoreReason("NoEpisode"));
        return false;
    }
    QString local;
    // An existing file may be incomplete. Another program removes the record before it fetches a recorded file that was
    // missing, so the file counts only if the row still records what was read.
    const bool isThere = FClient.GetLocalFileName(*download.Episode, *feed, local) &&
                         !TPodcastTargetFile::IsBeingWritten(local) && db.SetFoundFileOfRow(*download.Episode, local);
    if (isThere) {
        outcome.FileName = local;
        return false;
    }
    download.FileName =
        TPodcastInfoFormatString::Expand(FClient.Options().CacheFileNameTemplate(), *feed, *download.Episode);
    download.Caption = feed->Fields[pffTitle] + u" - " + download.Episode->Fields[pefTitle];
    download.URL = vexa::WithCredentialsOf(feed->Fields[pffURLFeed], download.Episode->Fields[pefURLAudio]);
    if (!QDir::isAbsolutePath(download.FileName))
        outcome.Error = Reason(CoreReason("NoFullName"), {download.FileName});
    else if (download.URL.isEmpty())
        outcome.Error = Reason(CoreReason("NoAudio"));
    return !outcome.Error;
}

void TPodcastClientTaskDownloadEpisodes::Transfer(Download& download, TPodcastDownloadOutcome& outcome) {
    using Kind = TPodcastResumption::Decision::Kind;
    for (;;) {
        const vexa::HttpErrorInfo info = Attempt(download);
        if (!download.FileOfAnother.isEmpty()) {
            outcome.FileName = download.FileOfAnother;
            return;
        }
        const TPodcastResumption::Decision next = download.Resumption.Decide(info);
        outcome.Error = next.Error;
        if (next.What != Kind::Again) break;
        if (next.Pause.count() > 0) {
            qCInfo(vexa::LogDownload).noquote() << "the transfer of" << vexa::MaskedUrl(download.URL) << "broke at byte"
                                                << download.Resumption.Held() << "-" << info.Why.English();
            WaitForConnection(download, next.Pause);
        }
        if (ShouldStop(download)) {
            outcome.Error = Reason(vexa::RuntimeReason("Cancelled"));
            break;
        }
    }
    Finish(download, outcome);
}

vexa::HttpErrorInfo TPodcastClientTaskDownloadEpisodes::Attempt(Download& download) {
    TPodcastResumption& resumption = download.Resumption;
    vexa::HttpGet request;
    request.Url = download.URL;
    resumption.Prepare(request);
    request.OnAccepted = [&](const vexa::HttpResponseInfo& response) { return Accept(download, response); };
    request.OnData = [&](const char* data, std::size_t size) {
        resumption.Arrived(size);
        if (download.IsAudio) {
            download.File.Write(data, size);
            return true;
        }
        download.Start.append(data, static_cast<qsizetype>(size));
        return BeginFile(download, false);
    };
    request.OnProgress = [&](qint64, qint64) {
        FClient.NotifyDownloadsProgress(resumption.Held(), resumption.Size(), download.Caption);
    };
    return request.Run([&] { return ShouldStop(download); });
}

bool TPodcastClientTaskDownloadEpisodes::Accept(Download& download, const vexa::HttpResponseInfo& response) {
    const auto answer = download.Resumption.Accept(response);
    if (answer != TPodcastResumption::Answer::Restarts) return answer == TPodcastResumption::Answer::Continues;
    download.MimeType = response.MimeType;
    download.Start.clear();
    download.IsAudio = false;
    if (!download.File.IsOpen()) return true;
    // The other version of the file may have another type, and so another name.
    if (WithExtensionOf(response.MimeType, download.FileName) == download.WantedName)
        download.File.Truncate();
    else
        download.File.Discard();
    return true;
}

bool TPodcastClientTaskDownloadEpisodes::BeginFile(Download& download, bool isWhole) {
    const Body body = JudgeBody(download.MimeType, download.Start, isWhole);
    if (body == Body::Undecided) return true;  // so far no file has been replaced and no record removed
    if (body == Body::WebPage) throw vexa::ReasonError(Reason(CoreReason("WebPage")));
    if (download.Start.isEmpty()) throw vexa::ReasonError(Reason(CoreReason("EmptyFile")));
    if (!download.File.IsOpen() && !OpenTarget(download)) return false;
    download.IsAudio = true;
    download.File.Write(download.Start.constData(), static_cast<std::size_t>(download.Start.size()));
    download.Start.clear();
    return true;
}

bool TPodcastClientTaskDownloadEpisodes::OpenTarget(Download& download) {
    TPodcastsDB& db = FClient.DB();
    const TPodcastEpisode& episode = *download.Episode;
    const QString& recorded = episode.Fields[pefURLAudioCached];
    TPodcastTargetFile& file = download.File;
    download.WantedName = WithExtensionOf(download.MimeType, download.FileName);
    CreateFolderOf(download.WantedName);
    // An existing file with this name is replaced, unless a row records it: many feeds give all files the same name,
    // and a complete file must not be lost to a download that may fail. This is checked again after locking the file,
    // since a download of another process holds the lock until its row records the file.
    for (int number = 1;; ++number) {
        const QString name = NumberedName(download.WantedName, number);
        const auto isTaken = [&](bool exists) {
            return db.IsFileOfAnother(name, episode) || (exists && db.IsFileRecorded(name));
        };
        if (!isTaken(vexa::FileExists(name))) {
            // Some row may still record this name, or this row another name, although the file is gone. If the program
            // were killed during the download, the incomplete file would be taken for the recorded one, or be found in
            // its place. So remove these records before creating the file.
            if (db.IsFileRecorded(name)) db.ForgetMissingFile(name);
            if (!recorded.isEmpty() && recorded != name && db.ReplaceCachedFileOfRow(episode, recorded, QString()))
                download.IsRecordBlanked = true;
            const bool isCreated = file.Open(name);
            if (!isTaken(!isCreated)) break;
            file.Discard();
        }
        // The name may be taken by another download of the same episode that has ended in the meantime.
        const QString present = db.GetCachedFileOfRow(episode).value_or(QString());
        if (vexa::FileExists(present)) {
            download.FileOfAnother = present;
            return false;
        }
    }
    file.Truncate();
    return true;
}

void TPodcastClientTaskDownloadEpisodes::WaitForConnection(Download& download, std::chrono::milliseconds pause) {
    constexpr auto kStep = std::chrono::milliseconds(50);
    const TPodcastResumption& resumption = download.Resumption;
    FClient.NotifyDownloadsProgress(resumption.Held(), resumption.Size(), kWaitingForConnection + download.Caption);
    const auto end = Clock::now() + pause;
    for (auto now = Clock::now(); now < end && !ShouldStop(download); now = Clock::now())
        std::this_thread::sleep_for(std::min<Clock::duration>(kStep, end - now));
}

bool TPodcastClientTaskDownloadEpisodes::ShouldStop(Download& download) {
    constexpr auto kBetweenLooks = std::chrono::seconds(1);
    if (IsCancelled() || !download.IsStored) return true;
    const auto now = Clock::now();
    if (now < download.NextLook) return false;
    download.NextLook = now + kBetweenLooks;
    // The feed may have been unsubscribed, perhaps by another program.
    const TPodcastEpisode& episode = *download.Episode;
    try {
        download.IsStored = FClient.DB().GetCachedFileOfRow(episode) || FClient.AreFilesKept(episode.FeedID);
    } catch (const vexa::SqliteError&) {
        // Try again at the next check; Finish checks, too.
    }
    return !download.IsStored;
}

void TPodcastClientTaskDownloadEpisodes::Finish(Download& download, TPodcastDownloadOutcome& outcome) {
    TPodcastsDB& db = FClient.DB();
    const TPodcastEpisode& episode = *download.Episode;
    TPodcastTargetFile& file = download.File;
    if (!outcome.Error) {
        try {
            if (!download.IsAudio && !BeginFile(download, true)) {
                outcome.FileName = download.FileOfAnother;
                return;
            }
            file.Flush();
        } catch (const std::exception& error) {
            outcome.Error = vexa::ReasonOf(error);
        }
    }
    // Record the file by row, not by key: a refresh may have given the row another address, and its address to another
    // episode. A file that no row records would never be found again.
    if (!outcome.Error)
        download.IsStored = db.SetCachedFileOfRow(episode, file.FileName()) || FClient.AreFilesKept(episode.FeedID);
    if (!download.IsStored) outcome.Error = Reason(CoreReason("NotStored"));
    if (!outcome.Error) {
        outcome.FileName = file.FileName();
        file.Close();
        return;
    }
    // Removes only a file that this transfer has opened: if the response was refused, an existing file stays.
    file.Discard();
    // Restore a removed record, because its file may come back, for instance with a disk; but not if a file of that
    // name is being written now.
    const QString& recorded = episode.Fields[pefURLAudioCached];
    if (download.IsRecordBlanked && !TPodcastTargetFile::IsBeingWritten(recorded))
        db.ReplaceCachedFileOfRow(episode, QString(), recorded);
}

void TPodcastClientTaskDownloadEpisodes::Complete() {
    FClient.RunCompletion([this] { FClient.DownloadsComplete(End()); });
}

}  // namespace podcasts
