#include "Podcasts.Core.TargetFile.h"
#include "Podcasts.Core.Tasks.h"
#include "VEXA.Runtime.FileTypes.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Http.h"
#include "VEXA.Runtime.Log.h"

#include <QDir>
#include <QFileInfo>

namespace podcasts {

namespace {

/// What servers send in place of audio: pages that ask to log in, errors with a status of success.
bool IsPageType(const QString& mimeType) {
    return mimeType == u"text/html" || mimeType == u"application/json";
}

enum class Body { Undecided, Audio, WebPage };

/// Tells by the type and the first bytes what a response is; not yet when these are too few. The bytes have the last
/// word: some servers call everything text/html.
Body JudgeBody(const QString& mimeType, const QByteArray& start, bool isWhole) {
    constexpr qsizetype kLongestSignature = 8, kLongestPrologue = 4096;  // bytes
    if (vexa::BeginsLikeMedia(start)) return Body::Audio;
    if (IsPageType(mimeType)) return isWhole || start.size() >= kLongestSignature ? Body::WebPage : Body::Undecided;
    if (vexa::BeginsLikeHtmlPage(start)) return Body::WebPage;
    const QByteArrayView text = QByteArrayView(start).trimmed();
    const bool mayBePage = text.isEmpty() || text.startsWith('<') || text.startsWith('\xEF');  // a byte-order mark
    return mayBePage && !isWhole && start.size() < kLongestPrologue ? Body::Undecided : Body::Audio;
}

/// The name with the extension that the response's type asks for.
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
        throw std::runtime_error("cannot create the folder " + folder.toStdString() +
                                 "; check that the folder above it exists and is writable");
    }
}

}  // namespace

struct TPodcastClientTaskDownloadEpisodes::Download {
    QString EpisodeKey;
    QString Caption;
    QString URL;
    QString FileName;  // as the template has it; the extension may change when the response arrives
    std::unique_ptr<TPodcastEpisode> Episode;
    QString MimeType;
    QByteArray Start;  // of the body, until there is enough of it to tell audio from a page
    TPodcastTargetFile File;
    bool IsRecordBlanked = false;  // of a file that was gone
};

void TPodcastClientTaskDownloadEpisodes::Execute() {
    QString key;
    while (!IsCancelled() && FClient.DownloadQueue().Pop(key)) {
        TPodcastDownloadOutcome outcome{key, {}, {}};
        try {
            Download download;
            download.EpisodeKey = key;
            if (PrepareDownload(download, outcome)) Transfer(download, outcome);
        } catch (const std::exception& error) {
            outcome.Error = QString::fromUtf8(error.what());
            FClient.FDownloadOutcomes.Add(outcome);
            throw;
        }
        if (!outcome.Error.isEmpty() && !IsCancelled())
            qCWarning(vexa::LogDownload).noquote() << "cannot download an episode:" << outcome.Error;
        FClient.FDownloadOutcomes.Add(std::move(outcome));
    }
}

bool TPodcastClientTaskDownloadEpisodes::PrepareDownload(Download& download, TPodcastDownloadOutcome& outcome) {
    TPodcastsDB& db = FClient.DB();
    download.Episode = db.GetEpisode(download.EpisodeKey);
    const auto feed = download.Episode ? db.GetFeed(download.Episode->FeedID, false) : nullptr;
    if (!feed) {
        outcome.Error = QStringLiteral("there is no such episode");
        return false;
    }
    QString local;
    if (FClient.GetLocalFileName(*download.Episode, *feed, local)) {
        db.SetCachedFile(download.EpisodeKey, local);
        outcome.FileName = local;
        return false;
    }
    download.FileName =
        TPodcastInfoFormatString::Expand(FClient.Options().CacheFileNameTemplate(), *feed, *download.Episode);
    download.Caption = feed->Fields[pffTitle] + u" - " + download.Episode->Fields[pefTitle];
    download.URL = vexa::WithCredentialsOf(feed->Fields[pffURLFeed], download.Episode->Fields[pefURLAudio]);
    if (!QDir::isAbsolutePath(download.FileName))
        outcome.Error = u"the file-name template gives no full file name, but \"" + download.FileName + u'"';
    else if (download.URL.isEmpty())
        outcome.Error = QStringLiteral("the episode has no audio file");
    return outcome.Error.isEmpty();
}

void TPodcastClientTaskDownloadEpisodes::Transfer(Download& download, TPodcastDownloadOutcome& outcome) {
    vexa::HttpGet request;
    request.Url = download.URL;
    request.OnAccepted = [&](const vexa::HttpResponseInfo& response) {
        download.MimeType = response.MimeType;
        return true;
    };
    request.OnData = [&](const char* data, std::size_t size) {
        if (download.File.IsOpen()) {
            download.File.Write(data, size);
        } else {
            download.Start.append(data, static_cast<qsizetype>(size));
            BeginFile(download, false);
        }
        return true;
    };
    request.OnProgress = [&](qint64 position, qint64 size) {
        FClient.NotifyDownloadsProgress(position, size, download.Caption);
    };
    request.OnCompleted = [&](const vexa::HttpErrorInfo& info) {
        outcome.Error = info.Message;
        Finish(download, outcome);
    };
    request.Run([this] { return IsCancelled(); });
}

void TPodcastClientTaskDownloadEpisodes::BeginFile(Download& download, bool isWhole) {
    const Body body = JudgeBody(download.MimeType, download.Start, isWhole);
    if (body == Body::Undecided) return;  // and nothing is replaced yet, nor is a record blanked
    if (body == Body::WebPage) throw std::runtime_error("the server sent a web page in place of the audio");
    OpenTarget(download);
    download.File.Write(download.Start.constData(), static_cast<std::size_t>(download.Start.size()));
    download.Start.clear();
}

void TPodcastClientTaskDownloadEpisodes::OpenTarget(Download& download) {
    TPodcastsDB& db = FClient.DB();
    const TPodcastEpisode& episode = *download.Episode;
    TPodcastTargetFile& file = download.File;
    const QString fileName = WithExtensionOf(download.MimeType, download.FileName);
    CreateFolderOf(fileName);
    // An existing file of the name is replaced, but for one that a row records: many feeds name every file alike, and a
    // whole file must not be given up for one that may fail. Asked again under the file's lock, which a download of
    // another process holds until its row records the file.
    for (int number = 1;; ++number) {
        const QString name = NumberedName(fileName, number);
        const auto isTaken = [&](bool exists) {
            return db.IsFileOfAnother(name, episode) || (exists && db.IsFileRecorded(name));
        };
        if (isTaken(vexa::FileExists(name))) continue;
        // A row may record this name, or this episode another one, of a file that is gone. Should we be killed, the
        // beginning of a file would pass for the recorded one, or be found in its place; so the records go before
        // there is a file.
        if (db.IsFileRecorded(name)) db.ForgetFile(name);
        if (!episode.Fields[pefURLAudioCached].isEmpty() && !download.IsRecordBlanked) {
            db.SetCachedFileOfRow(episode, QString());
            download.IsRecordBlanked = true;
        }
        const bool isCreated = file.Open(name);
        if (!isTaken(!isCreated)) break;
        file.Discard();
    }
    file.Truncate();
}

void TPodcastClientTaskDownloadEpisodes::Finish(Download& download, TPodcastDownloadOutcome& outcome) {
    TPodcastsDB& db = FClient.DB();
    TPodcastTargetFile& file = download.File;
    if (outcome.Error.isEmpty()) {
        try {
            if (!file.IsOpen()) BeginFile(download, true);
            file.Flush();
        } catch (const std::exception& error) {
            outcome.Error = QString::fromUtf8(error.what());
        }
    }
    if (!outcome.Error.isEmpty()) {
        // Only a file that this transfer opened: a refused one leaves a whole file of that name alone.
        const QString& recorded = download.Episode->Fields[pefURLAudioCached];
        const bool isAnotherName = !file.IsOpen() || file.FileName() != recorded;
        file.Discard();
        if (download.IsRecordBlanked && isAnotherName) db.SetCachedFileOfRow(*download.Episode, recorded);
        return;
    }
    // By the row and not by the key: a refresh may have given the row another address meanwhile, and its address to
    // another episode.
    db.SetCachedFileOfRow(*download.Episode, file.FileName());
    outcome.FileName = file.FileName();
    file.Close();
}

void TPodcastClientTaskDownloadEpisodes::Complete() {
    FClient.RunCompletion([this] { FClient.DownloadsComplete(End()); });
}

}  // namespace podcasts
