#include "Playback.h"

#include "AudioTags.h"
#include "ErrorInfo.h"
#include "FileInfo.h"
#include "Guarded.h"
#include "Log.h"
#include "ObjectList.h"
#include "Rewinding.h"
#include "Strings.h"
#include "VEXA.Runtime.Threads.h"

#include <QDateTime>
#include <QPointer>
#include <QUrl>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace vexa::host {

namespace {

constexpr std::chrono::seconds kSaveEvery{5}, kSaveAgain{1};
constexpr double kFarLonger = 1.25;
constexpr double kSamePlace = 0.5;  // s
constexpr int kMaxSkip = 3600;
constexpr int kMaxSkips = 3;  // in a row; if more files fail, the problem is not in the files
constexpr double kAfterJump = std::numeric_limits<double>::infinity();
const QString kVolume = QStringLiteral("Player\\Volume");

NowPlaying Described(NowPlaying file, FileInfo& info) {
    file.Title = info.Text(IVEXAFileInfo::Title);
    file.Artist = info.Text(IVEXAFileInfo::Artist);
    file.Album = info.Text(IVEXAFileInfo::Album);
    info.GetValueAsFloat(IVEXAFileInfo::Duration, &file.Duration);
    return file;
}

}  // namespace

/// Is told about the files that somebody marks as heard.
class Playback::Hook final : public RefCountedObject<IVEXAMessageHook> {
public:
    explicit Hook(Playback& owner) : FOwner(owner) {}
    void OnMessage(std::uint32_t message, std::int32_t, void* names, HResult*) noexcept override {
        Guarded("following the player", [&] {
            if (names && (message == kMsgFilesHeard || message == kMsgFilesUnheard))
                FOwner.SetHeard(ToQStringList(static_cast<IVEXAObjectList*>(names)), message == kMsgFilesHeard);
            return S_OK;
        });
    }

private:
    Playback& FOwner;  // unhooks this hook before it is destroyed
};

/// Describes the current file on a worker thread, because a provider that knows the file may have to wait for its data.
class Playback::DescribeTask final : public Task {
public:
    /// `tell` is called on the main thread, if `owner` still exists.
    DescribeTask(NowPlaying playing, FileInfoService& infos, Playback* owner,
                 std::function<void(const NowPlaying& described)> tell)
        : FPlaying(std::move(playing)), FInfos(&infos), FOwner(owner), FTell(std::move(tell)) {}

    void Execute() override {
        const Ref<FileInfo> info(new FileInfo);
        FInfos->GetFileInfo(MakeString(FPlaying.Address).Get(), 0, info.Get());
        FPlaying = Described(FPlaying, *info);
        if (!FPlaying.LocalFile.isEmpty() && !IsCancelled()) FPlaying.Chapters = ReadChapters(FPlaying.LocalFile);
        RunInMainThread(
            [playing = FPlaying, owner = FOwner, tell = FTell] {
                if (owner) tell(playing);
            },
            false);
    }

private:
    NowPlaying FPlaying;
    const Ref<FileInfoService> FInfos;
    const QPointer<Playback> FOwner;  // used on the main thread only
    const std::function<void(const NowPlaying&)> FTell;
};

Playback::Playback(Host& host, const QString& sink)
    : FHost(host),
      FPositions(host.ProfileFolder()),
      FNodes(host.ProfileFolder(), host.Library()),
      FOutput(new MediaOutput(sink)),
      FChoices(host.Config()),
      FHook(new Hook(*this)),
      FClock(QDateTime::currentMSecsSinceEpoch) {
    using Problem = MediaOutput::Problem;
    FHost.Player().SetOutput(std::unique_ptr<AudioOutput>(FOutput));
    FHost.Player().SetStartListener([this] { OnStarted(); });
    FHost.Messages().Hook(FHook.Get());
    FHost.Messages().Handle(kMsgGetFilesInUse, [this](std::int32_t, void* names) {
        return ListFilesInUse(static_cast<IVEXAObjectList*>(names));
    });
    FHost.Addresses().AddKeeper(this);
    bool isNumber = false;
    const double volume = FHost.Config().Find(kVolume).value_or(QString()).toDouble(&isNumber);
    if (isNumber) FOutput->SetVolume(volume);
    OnChoices();

    connect(FOutput, &MediaOutput::StateChanged, this, &Playback::OnState);
    connect(FOutput, &MediaOutput::PositionChanged, this, &Playback::PositionChanged);
    connect(FOutput, &MediaOutput::PositionChanged, this, &Playback::OnPosition);
    connect(FOutput, &MediaOutput::DurationChanged, this, &Playback::DurationChanged);
    connect(FOutput, &MediaOutput::VideoChanged, this, &Playback::VideoChanged);
    connect(FOutput, &MediaOutput::DurationChanged, this, &Playback::OnDuration);
    connect(&FNodes, &NodeSettings::Changed, this, &Playback::OnNodesChanged);
    connect(FOutput, &MediaOutput::Closing, this, &Playback::StorePosition);
    connect(FOutput, &MediaOutput::Begun, this, &Playback::OnBegun);
    connect(FOutput, &MediaOutput::Ended, this, &Playback::OnEnded);
    connect(FOutput, &MediaOutput::Failed, this,
            [this](Problem problem, const Reason& details) { OnProblem(problem, FHost.Language().Text(details)); });
    connect(FOutput, &MediaOutput::Warned, this, [this](Problem problem) { Q_EMIT Warned(Describe(problem, {})); });
    connect(&FSleep, &SleepTimer::Expired, this, &Playback::Pause);
    connect(&FSleep, &SleepTimer::Faded, FOutput, &MediaOutput::SetFade);
    connect(&FChoices, &ListeningChoices::Changed, this, &Playback::OnChoices);
    FSaver.setInterval(kSaveEvery);
    connect(&FSaver, &QTimer::timeout, this, [this] {
        StorePosition();
        SaveSoon();
    });
}

Playback::~Playback() {
    FHost.Addresses().RemoveKeeper(this);
    FHost.Messages().Unhook(FHook.Get());
    // Positions are still remembered, but nobody knows them any more.
    FHost.Messages().Handle(kMsgGetFilesInUse, [](std::int32_t, void*) { return E_FAIL; });
    FHost.Player().SetStartListener(nullptr);
    WorkerPool::Cancel(FDescribing, true);
    for (const TaskHandle naming : FNaming) WorkerPool::Cancel(naming, true);
    StorePosition();
    FOutput->disconnect(this);
    FHost.Player().SetOutput(std::make_unique<SilentOutput>());
    Guarded("keeping where files were left", [this] { FPositions.Save(); });
}

double Playback::Duration() const {
    // The output takes a stream of unknown length to be as long as the part read so far.
    const double played = FOutput->Duration(), described = FCurrent.Duration;
    return played <= 0 || (FCurrent.LocalFile.isEmpty() && described > played * kFarLonger) ? described : played;
}

int Playback::Setting(const char* key, int otherwise) const {
    bool isNumber = false;
    const QString keyPath(u"Player\\" + QLatin1String(key));
    const int value = FHost.Config().Find(keyPath).value_or(QString()).toInt(&isNumber);
    return isNumber && value > 0 ? std::min(value, kMaxSkip) : otherwise;
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
    // Its position is stored by the present address; by an older one the file would start from its beginning.
    const QString address = FHost.Addresses().Present(named);
    OnBegun();  // the user has chosen a file, so earlier skips do not count any more
    if (address == FCurrent.Address && !FHasEnded && !FCurrent.IsPreview)
        Resume();
    else
        Start(address);
}

void Playback::Start(const QString& address) {
    FTried = address;
    const Ref<ErrorInfo> error(new ErrorInfo);
    FOutput->ForgetProblem();
    if (vexa::Failed(FHost.Player().Play(MakeString(address).Get(), error.Get()))) OnStartFailed(*error);
}

void Playback::StartPreviewAgain() {
    const Ref<ErrorInfo> error(new ErrorInfo);
    FOutput->ForgetProblem();
    const auto preview = FHost.Player().Preview();
    if (preview && vexa::Failed(FHost.Player().PlayPreview(preview.Get(), error.Get()))) OnStartFailed(*error);
}

void Playback::OnStartFailed(const ErrorInfo& error) {
    OnProblem(FOutput->LastProblem(), error.Message());
}

void Playback::Resume() {
    VEXA_ASSERT_MAIN_THREAD();
    switch (CurrentState()) {
        case State::Paused:
            // Where somebody has jumped to during the pause, playback goes on exactly.
            if (const HeardFile* left = FPositions.Find(FCurrent.Address);
                left && std::abs(Position() - left->Position) < kSamePlace && ResumePosition(*left) < left->Position)
                Seek(ResumePosition(*left));
            return FOutput->Play();
        case State::Failed:
            return FCurrent.IsPreview ? StartPreviewAgain() : Start(QString(FCurrent.Address));
        case State::Stopped:
            // The user has not chosen anything yet: go on with the file heard last.
            if (const HeardFile* last = FPositions.LastHeard()) Start(QString(last->Address));
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
    FHasEnded = FIsAtSkip = false;
    FBefore = kAfterJump;
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
    if (FNode) {
        FListening.Speed = FOutput->Speed();
        FNodes.Set(*FNode, FListening);
    }
    if (!FNode && !FCurrent.IsPreview) FPositions.SetSpeed(FCurrent.Album, FOutput->Speed());
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

QString Playback::TakeNext() {
    QStringList waiting = UpNext();
    if (waiting.isEmpty()) return FOrder ? FOrder->After(FIsAdvancing ? FTried : FCurrent.Address) : QString();
    const QString next = waiting.takeFirst();
    SetUpNext(waiting);
    FTaken += next;
    return next;
}

bool Playback::Advance() {
    const QString next = TakeNext();
    if (next.isEmpty()) return false;
    FIsAdvancing = true;
    Start(next);
    return true;
}

void Playback::Next() {
    Advance();
}

void Playback::OnBegun() {
    FIsAdvancing = false;
    FSkips = 0;
    FTaken.clear();
}

/// If the file that failed was started by Next or automatically, starts the file after it. False when it does not.
bool Playback::SkipAhead(const QString& reason) {
    if (!FIsAdvancing || FSkips == kMaxSkips) return false;
    const QString failed = FTried, next = TakeNext();
    if (next.isEmpty()) return false;
    ++FSkips;
    WithName(failed, [this, reason](const QString& name) { Q_EMIT Skipped(name, reason); });
    Start(next);
    return true;
}

/// Puts skipped files back into UpNext when nothing could be played, as without a network, so that they are not lost.
void Playback::RestoreTaken() {
    if (FIsAdvancing && !FTaken.isEmpty()) SetUpNext(FTaken + UpNext());
    OnBegun();
}

void Playback::WithName(const QString& address, std::function<void(const QString& name)> tell) {
    const auto nameOf = [](const NowPlaying& described) {
        return described.Title.isEmpty() ? QUrl(described.Address).fileName() : described.Title;
    };
    if (address == FCurrent.Address && FDescribing == 0) return tell(nameOf(FCurrent));
    NowPlaying file;
    file.Address = address;
    FNaming.push_back(WorkerPool::Run(std::make_unique<DescribeTask>(
        file, FHost.FileInfos(), this,
        [nameOf, tell = std::move(tell)](const NowPlaying& described) { tell(nameOf(described)); })));
}

QString Playback::BeforeCurrent() const {
    return FOrder ? FOrder->Before(FCurrent.Address) : QString();
}

bool Playback::HasPrevious() const {
    return !BeforeCurrent().isEmpty();
}

void Playback::Previous() {
    if (const QString before = BeforeCurrent(); !before.isEmpty()) Start(before);
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
    if (address == FCurrent.Address) FHasEnded = true;  // until the next Seek
    SaveSoon();
    Q_EMIT PositionsChanged();
}

void Playback::SetHeard(const QStringList& addresses, bool areHeard) {
    VEXA_ASSERT_MAIN_THREAD();
    for (const QString& address : addresses) {
        if (areHeard)
            FPositions.SetHeard(address);
        else
            FPositions.TakeBackHeard(address);
        if (address == FCurrent.Address) FHasEnded = areHeard;  // until the next Seek
    }
    SaveSoon();
    Q_EMIT PositionsChanged();
}

void Playback::SaveSoon() {
    if (!FPositions.SaveInBackground()) QTimer::singleShot(kSaveAgain, this, &Playback::SaveSoon);
}

void Playback::Save() {
    VEXA_ASSERT_MAIN_THREAD();
    StorePosition();
    FPositions.Save();
    FNodes.Save();
}

void Playback::OnChoices() {
    FOutput->SetShortening(FChoices.Has(ListeningChoices::ShortenSilence));
    FOutput->SetLevelling(FChoices.Has(ListeningChoices::LevelVoices));
}

/// Where a file that was left goes on.
double Playback::ResumePosition(const HeardFile& left) const {
    if (left.LeftAt <= 0 || !FChoices.Has(ListeningChoices::RewindAfterPause)) return left.Position;
    return std::max(0.0, left.Position - RewindAfter(std::chrono::milliseconds(FClock() - left.LeftAt)));
}

void Playback::OnStarted() {
    VEXA_ASSERT_MAIN_THREAD();
    const QString source = FHost.Player().Source();
    FCurrent = {};
    FCurrent.Address = FHost.Player().FileName();
    FCurrent.LocalFile = LocalFileName(source);
    FHasEnded = false;
    FCurrent.IsPreview = static_cast<bool>(FHost.Player().Preview());
    if (FCurrent.IsPreview) {
        FTried = FCurrent.Address;
        OnBegun();
    }
    ApplyNode();
    const HeardFile* left = FCurrent.IsPreview ? nullptr : FPositions.Find(FCurrent.Address);
    const double begin = std::max<double>(left ? ResumePosition(*left) : 0, FListening.SkipStart);
    FIsAtSkip = begin > 0 && (!left || left->Position < begin);
    FBefore = begin > 0 ? kAfterJump : 0;
    if (begin > 0) FOutput->Seek(begin);
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
    if (const auto& preview = FHost.Player().Preview()) return OnDescribed(Described(FCurrent, *preview));
    FDescribing = WorkerPool::Run(std::make_unique<DescribeTask>(
        FCurrent, FHost.FileInfos(), this, [this](const NowPlaying& described) { OnDescribed(described); }));
}

void Playback::OnDescribed(const NowPlaying& described) {
    VEXA_ASSERT_MAIN_THREAD();
    if (described.Address != FCurrent.Address) return;  // another file plays by now
    FDescribing = 0;
    FCurrent = described;
    TakeSpeedOfAlbum();
    // A node or album without a speed of its own is played at 1, not at the speed of the last one.
    FOutput->SetSpeed(SavedSpeed());
    Q_EMIT SpeedChanged(FOutput->Speed());
    Q_EMIT CurrentChanged();
}

/// Finds the node of the current file, and what its settings change at once.
void Playback::ApplyNode() {
    FNode.reset();
    if (!FCurrent.IsPreview) Guarded("finding the node of a file", [this] { FNode = FNodes.NodeOf(FCurrent.Address); });
    FListening = FNode ? FNodes.Get(*FNode) : ListeningSettings();
    FOutput->SetGain(FListening.Volume);
}

void Playback::OnNodesChanged() {
    if (FCurrent.Address.isEmpty()) return;
    ApplyNode();
    if (FDescribing != 0 || FOutput->Speed() == SavedSpeed()) return;
    FOutput->SetSpeed(SavedSpeed());
    Q_EMIT SpeedChanged(FOutput->Speed());
}

/// Speeds were once stored by album. The album's becomes the node's, once.
void Playback::TakeSpeedOfAlbum() {
    const double speed = FPositions.Speed(FCurrent.Album);
    if (!FNode || speed == 1) return;
    FPositions.SetSpeed(FCurrent.Album, 1);
    if (FListening.Speed != 1) return;
    FListening.Speed = speed;
    FNodes.Set(*FNode, FListening);
}

/// Ends a file where the part at its end begins that is skipped, unless the user has jumped there.
void Playback::OnPosition(double seconds) {
    const double before = std::exchange(FBefore, seconds), duration = Duration();
    if (FListening.SkipEnd == 0 || FHasEnded || !IsPlaying()) return;
    const double end = duration - FListening.SkipEnd;
    if (end > FListening.SkipStart && before < end && seconds >= end) OnEnded();
}

/// A file that is too short to skip anything is played from its beginning.
void Playback::OnDuration(double seconds) {
    if (!FIsAtSkip || seconds <= 0) return;
    FIsAtSkip = false;
    if (seconds <= FListening.SkipStart + FListening.SkipEnd) FOutput->Seek(0);
}

HResult Playback::ListFilesInUse(IVEXAObjectList* names) const {
    if (!names) return E_POINTER;
    QStringList used = UpNext();
    if (!FCurrent.Address.isEmpty() && !FCurrent.IsPreview) used += {FCurrent.Address, FCurrent.LocalFile};
    for (const HeardFile& file : FPositions.Begun()) used += file.Address;
    for (const QString& name : used)
        if (!name.isEmpty()) names->Add(MakeString(name).Get());
    return S_OK;
}

QStringList Playback::KeptAddresses() const {
    QStringList kept = UpNext();
    for (const auto& [place, address] : FPositions.GoneNext().Entries()) kept += address;
    for (const HeardFile& file : FPositions.Begun()) kept += file.Address;
    if (!FCurrent.Address.isEmpty()) kept += FCurrent.Address;
    return kept;
}

void Playback::OnAddressesMoved(const AddressMoves& moves) {
    const auto current = moves.constFind(FCurrent.Address);
    const bool isCurrent = current != moves.constEnd();
    if (!FPositions.Move(moves) && !isCurrent) return;
    if (isCurrent) {
        FCurrent.Address = *current;
        ApplyNode();
        if (FDescribing != 0) DescribeCurrent();  // OnDescribed would drop a description of the old address
    }
    SaveSoon();
    Q_EMIT AddressesMoved(moves);
    if (isCurrent) Q_EMIT CurrentChanged();
    Q_EMIT PositionsChanged();
    Q_EMIT UpNextChanged();
}

void Playback::OnAddressesGone(const QSet<QString>& gone) {
    if (!FPositions.SetGone(gone)) return;
    SaveSoon();
    Q_EMIT PositionsChanged();
    Q_EMIT UpNextChanged();
}

void Playback::OnEnded() {
    if (FCurrent.IsPreview) return Stop();
    const QString address = FCurrent.Address;
    FPositions.Forget(address);
    FHasEnded = true;
    Q_EMIT PositionsChanged();
    Q_EMIT Finished(address);
    if (FCurrent.Address != address || !FHasEnded) return;  // a slot has started another file, or jumped back
    const bool sleeps = FSleep.CurrentMode() == SleepTimer::Mode::AtEnd;
    if (sleeps) FSleep.Cancel();
    if (sleeps || !Advance()) Stop();
    SaveSoon();
}

void Playback::OnState() {
    const State state = CurrentState();
    if (state == State::Playing)
        FSaver.start();
    else
        FSaver.stop();
    if (state == State::Paused || state == State::Failed || state == State::Stopped) {
        StorePosition();
        SaveSoon();
    }
    if (state == State::Stopped) FNode.reset();
    if (state == State::Stopped && !std::exchange(FCurrent, {}).Address.isEmpty()) Q_EMIT CurrentChanged();
    Q_EMIT StateChanged();
}

void Playback::StorePosition() {
    if (FHasEnded || FCurrent.Address.isEmpty() || FCurrent.IsPreview || CurrentState() == State::Stopped) return;
    FPositions.Leave(FCurrent.Address, Position(), Duration());
    Q_EMIT PositionsChanged();
}

QString Playback::Describe(MediaOutput::Problem problem, const QString& details) const {
    const QString text = FHost.Language().Text(QStringLiteral("Player\\Problem"), static_cast<int>(problem));
    if (text.isEmpty()) return details;
    return details.isEmpty() ? text : text + u' ' + u'(' + details + u')';
}

void Playback::OnProblem(MediaOutput::Problem problem, const QString& details) {
    const QString reason = Describe(problem, details);
    SaveSoon();
    if (SkipAhead(reason)) return;
    RestoreTaken();
    WithName(FTried, [this, reason](const QString& name) { Q_EMIT Failed(name + u": " + reason); });
}

}  // namespace vexa::host
