#include "Playback.h"

#include "AudioTags.h"
#include "ErrorInfo.h"
#include "FileInfo.h"
#include "Guarded.h"
#include "Log.h"
#include "ObjectList.h"
#include "Strings.h"
#include "VEXA.Runtime.Threads.h"

#include <QPointer>

#include <algorithm>
#include <utility>

namespace vexa::host {

namespace {

constexpr std::chrono::seconds kSaveEvery{5}, kSaveAgain{1};
constexpr double kMoment = 5;  // seconds: what is past that, "previous" goes back to the beginning of
constexpr double kFarLonger = 1.25;
constexpr int kLongestSkip = 3600;
const QString kVolume = QStringLiteral("Player\\Volume");

}  // namespace

/// Hears of all that the player starts, whoever asked it to.
class Playback::Hook final : public RefCountedObject<IVEXAMessageHook> {
public:
    explicit Hook(Playback& owner) : FOwner(owner) {}
    void OnMessage(std::uint32_t message, std::int32_t, void* names, HResult*) noexcept override {
        Guarded("following the player", [&] {
            if (message == kMsgPlaybackStarted) FOwner.OnStarted();
            if (message == kMsgFilesHeard && names)
                for (const QString& name : ToQStringList(static_cast<IVEXAObjectList*>(names)))
                    FOwner.ForgetPosition(name);
            return S_OK;
        });
    }

private:
    Playback& FOwner;  // which unhooks it
};

/// Who knows a file may have to wait for its data.
class Playback::DescribeTask final : public Task {
public:
    DescribeTask(NowPlaying playing, FileInfoService& infos, Playback* owner)
        : FPlaying(std::move(playing)), FInfos(&infos), FOwner(owner) {}

    void Execute() override {
        const Ref<FileInfo> info(new FileInfo);
        FInfos->GetFileInfo(MakeString(FPlaying.Address).Get(), 0, info.Get());
        FPlaying.Title = info->Text(IVEXAFileInfo::Title);
        FPlaying.Artist = info->Text(IVEXAFileInfo::Artist);
        FPlaying.Album = info->Text(IVEXAFileInfo::Album);
        info->GetValueAsFloat(IVEXAFileInfo::Duration, &FPlaying.Duration);
        if (!FPlaying.LocalFile.isEmpty() && !IsCancelled()) FPlaying.Chapters = ReadChapters(FPlaying.LocalFile);
        const auto tell = [playing = FPlaying, owner = FOwner] {
            if (owner) owner->OnDescribed(playing);
        };
        RunInMainThread(tell, false);
    }

private:
    NowPlaying FPlaying;
    const Ref<FileInfoService> FInfos;
    const QPointer<Playback> FOwner;  // looked at on the main thread only
};

Playback::Playback(Host& host, const QString& sink)
    : FHost(host), FPositions(host.ProfileFolder()), FOutput(new MediaOutput(sink)), FHook(new Hook(*this)) {
    using Problem = MediaOutput::Problem;
    FHost.Player().SetOutput(std::unique_ptr<AudioOutput>(FOutput));
    FHost.Messages().Hook(FHook.Get());
    FHost.Addresses().AddKeeper(this);
    bool isNumber = false;
    const double volume = FHost.Config().Find(kVolume).value_or(QString()).toDouble(&isNumber);
    if (isNumber) FOutput->SetVolume(volume);

    connect(FOutput, &MediaOutput::StateChanged, this, &Playback::OnState);
    connect(FOutput, &MediaOutput::PositionChanged, this, &Playback::PositionChanged);
    connect(FOutput, &MediaOutput::DurationChanged, this, &Playback::DurationChanged);
    connect(FOutput, &MediaOutput::Closing, this, &Playback::Remember);
    connect(FOutput, &MediaOutput::Ended, this, &Playback::OnEnded);
    connect(FOutput, &MediaOutput::Failed, this,
            [this](Problem problem, const QString& details) { OnProblem(problem, details, true); });
    connect(FOutput, &MediaOutput::Warned, this,
            [this](Problem problem, const QString& details) { OnProblem(problem, details, false); });
    connect(&FSleep, &SleepTimer::Expired, this, &Playback::Pause);
    FSaver.setInterval(kSaveEvery);
    connect(&FSaver, &QTimer::timeout, this, [this] {
        Remember();
        SaveSoon();
    });
}

Playback::~Playback() {
    FHost.Addresses().RemoveKeeper(this);
    FHost.Messages().Unhook(FHook.Get());
    WorkerPool::Cancel(FDescribing, true);
    Remember();
    FOutput->disconnect(this);
    FHost.Player().SetOutput(std::make_unique<SilentOutput>());
    FPositions.Save();
}

double Playback::Duration() const {
    // A stream that does not say how long it is seems to be as long as what was read of it.
    const double played = FOutput->Duration(), described = FCurrent.Duration;
    return played <= 0 || (FCurrent.LocalFile.isEmpty() && described > played * kFarLonger) ? described : played;
}

int Playback::Setting(const char* key, int otherwise) const {
    bool isNumber = false;
    const QString keyPath(u"Player\\" + QLatin1String(key));
    const int value = FHost.Config().Find(keyPath).value_or(QString()).toInt(&isNumber);
    return isNumber && value > 0 ? std::min(value, kLongestSkip) : otherwise;
}

int Playback::SkipBackBy() const {
    return Setting("SkipBack", 15);
}

int Playback::SkipForwardBy() const {
    return Setting("SkipForward", 30);
}

void Playback::Play(const QString& named) {
    VEXA_ASSERT_MAIN_THREAD();
    if (named.isEmpty()) return;
    // By an older address it would not go on from where it was left.
    const QString address = FHost.Addresses().Present(named);
    if (address == FCurrent.Address && !FHasEnded)
        Resume();
    else
        Start(address);
}

void Playback::Start(const QString& address) {
    FError.clear();
    const Ref<ErrorInfo> error(new ErrorInfo);
    FOutput->ForgetProblem();
    if (vexa::Failed(FHost.Player().Play(MakeString(address).Get(), error.Get())))
        OnProblem(FOutput->LastProblem(), error->Message(), true);
}

void Playback::Resume() {
    VEXA_ASSERT_MAIN_THREAD();
    switch (TheState()) {
        case State::Paused:
            return FOutput->Play();
        case State::Failed:
            return Start(QString(FCurrent.Address));
        case State::Stopped:
            // Nothing was chosen since the start: what was heard last goes on.
            if (!FPositions.Begun().empty()) Start(QString(FPositions.Begun().front().Address));
            return;
        default:
            return;
    }
}

void Playback::Pause() {
    VEXA_ASSERT_MAIN_THREAD();
    FOutput->Pause();
}

void Playback::PlayOrPause() {
    if (IsPlaying())
        Pause();
    else
        Resume();
}

void Playback::Stop() {
    VEXA_ASSERT_MAIN_THREAD();
    FHost.Player().Stop();
    FHasEnded = false;
}

void Playback::Seek(double seconds) {
    VEXA_ASSERT_MAIN_THREAD();
    FHasEnded = false;
    FOutput->Seek(seconds);
    Q_EMIT Seeked(FOutput->Position());
}

void Playback::SkipBack() {
    Seek(Position() - SkipBackBy());
}

void Playback::SkipForward() {
    Seek(Position() + SkipForwardBy());
}

void Playback::SetSpeed(double speed) {
    VEXA_ASSERT_MAIN_THREAD();
    FOutput->SetSpeed(speed);
    FPositions.SetSpeed(FCurrent.Album, FOutput->Speed());
    Q_EMIT SpeedChanged(FOutput->Speed());
}

void Playback::SetVolume(double volume) {
    VEXA_ASSERT_MAIN_THREAD();
    FOutput->SetVolume(volume);
    FHost.Config().Write(kVolume, QString::number(FOutput->Volume(), 'g', 3));
    Q_EMIT VolumeChanged(FOutput->Volume());
}

bool Playback::HasNext() const {
    return !UpNext().isEmpty() || (FOrder && !FOrder->After(FCurrent.Address).isEmpty());
}

bool Playback::HasPrevious() const {
    return !FCurrent.Address.isEmpty();
}

QString Playback::TakeNext() {
    QStringList waiting = UpNext();
    if (waiting.isEmpty()) return FOrder ? FOrder->After(FCurrent.Address) : QString();
    const QString next = waiting.takeFirst();
    SetUpNext(waiting);
    return next;
}

void Playback::Next() {
    if (const QString next = TakeNext(); !next.isEmpty()) Start(next);
}

void Playback::Previous() {
    const QString before = FOrder && Position() < kMoment ? FOrder->Before(FCurrent.Address) : QString();
    if (before.isEmpty())
        Seek(0);
    else
        Start(before);
}

void Playback::PlayNext(const QStringList& addresses) {
    SetUpNext(addresses + UpNext());
}

void Playback::PlayLast(const QStringList& addresses) {
    SetUpNext(UpNext() + addresses);
}

void Playback::SetUpNext(const QStringList& addresses) {
    VEXA_ASSERT_MAIN_THREAD();
    if (addresses == UpNext()) return;
    FPositions.SetUpNext(addresses);
    SaveSoon();
    Q_EMIT UpNextChanged();
}

void Playback::ForgetPosition(const QString& address) {
    FPositions.Forget(address);
    if (address == FCurrent.Address) FHasEnded = true;  // until somebody jumps in it
    SaveSoon();
    Q_EMIT PositionsChanged();
}

void Playback::SaveSoon() {
    if (!FPositions.SaveInBackground()) QTimer::singleShot(kSaveAgain, this, &Playback::SaveSoon);
}

QString Playback::Save() {
    VEXA_ASSERT_MAIN_THREAD();
    Remember();
    return FPositions.Save();
}

void Playback::OnStarted() {
    VEXA_ASSERT_MAIN_THREAD();
    const QString source = FHost.Player().Source();
    FCurrent = {};
    FCurrent.Address = FHost.Player().FileName();
    FCurrent.LocalFile = LocalFileName(source);
    FHasEnded = false;
    FError.clear();
    if (const HeardFile* left = FPositions.Find(FCurrent.Address)) FOutput->Seek(left->Position);
    Q_EMIT CurrentChanged();
    DescribeCurrent();
}

QStringList Playback::Schemes() const {
    QStringList schemes{QStringLiteral("http"), QStringLiteral("https"), QStringLiteral("file")};
    for (const FileSystemService::Entry& entry : FHost.FileSystems().All()) schemes += entry.Scheme;
    return schemes;
}

void Playback::DescribeCurrent() {
    WorkerPool::Cancel(FDescribing, false);
    FDescribing = WorkerPool::Run(std::make_unique<DescribeTask>(FCurrent, FHost.FileInfos(), this));
}

void Playback::OnDescribed(const NowPlaying& described) {
    VEXA_ASSERT_MAIN_THREAD();
    if (described.Address != FCurrent.Address) return;  // something else plays by now
    FDescribing = 0;
    FCurrent = described;
    // An album without a speed of its own is not heard at the last one's.
    FOutput->SetSpeed(FPositions.Speed(FCurrent.Album));
    Q_EMIT SpeedChanged(FOutput->Speed());
    Q_EMIT CurrentChanged();
}

QStringList Playback::KeptAddresses() const {
    QStringList kept = UpNext();
    for (const HeardFile& one : FPositions.Begun()) kept += one.Address;
    if (!FCurrent.Address.isEmpty()) kept += FCurrent.Address;
    return kept;
}

void Playback::OnAddressesMoved(const AddressMoves& moves) {
    const auto current = moves.constFind(FCurrent.Address);
    const bool isCurrent = current != moves.constEnd();
    if (!FPositions.Move(moves) && !isCurrent) return;
    if (isCurrent) {
        FCurrent.Address = *current;
        if (FDescribing != 0) DescribeCurrent();  // what is being found out is said of the older address
    }
    SaveSoon();
    Q_EMIT AddressesMoved(moves);
    if (isCurrent) Q_EMIT CurrentChanged();
    Q_EMIT PositionsChanged();
    Q_EMIT UpNextChanged();
}

void Playback::OnEnded() {
    const QString address = FCurrent.Address;
    FPositions.Forget(address);
    FHasEnded = true;
    Q_EMIT PositionsChanged();
    Q_EMIT Finished(address);
    if (FCurrent.Address != address || !FHasEnded) return;  // a slot has started something
    const bool sleeps = FSleep.TheMode() == SleepTimer::Mode::AtEnd;
    if (sleeps) FSleep.Cancel();
    const QString next = sleeps ? QString() : TakeNext();
    if (next.isEmpty())
        Stop();
    else
        Start(next);
    SaveSoon();
}

void Playback::OnState() {
    const State state = TheState();
    if (state == State::Playing)
        FSaver.start();
    else
        FSaver.stop();
    if (state == State::Paused || state == State::Failed || state == State::Stopped) {
        Remember();
        SaveSoon();
    }
    if (state == State::Stopped && !std::exchange(FCurrent, {}).Address.isEmpty()) Q_EMIT CurrentChanged();
    Q_EMIT StateChanged();
}

void Playback::Remember() {
    if (FHasEnded || FCurrent.Address.isEmpty() || TheState() == State::Stopped) return;
    FPositions.Leave(FCurrent.Address, Position(), Duration());
    Q_EMIT PositionsChanged();
}

QString Playback::Describe(MediaOutput::Problem problem, const QString& details) const {
    const QString text = FHost.Language().Text(QStringLiteral("Player\\Problem"), static_cast<int>(problem));
    if (text.isEmpty()) return details;
    return details.isEmpty() ? text : text + u' ' + u'(' + details + u')';
}

void Playback::OnProblem(MediaOutput::Problem problem, const QString& details, bool isFatal) {
    if (!isFatal) {
        if (!details.isEmpty()) qCInfo(LogHost).noquote() << "playing:" << details;
        Q_EMIT Warned(Describe(problem, {}));
        return;
    }
    FError = Describe(problem, details);
    SaveSoon();
    Q_EMIT Failed(QString(FError));
}

}  // namespace vexa::host
