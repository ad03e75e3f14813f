#include "Positions.h"

#include "HostReasons.h"
#include "VEXA.Runtime.Threads.h"

#include <QDateTime>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cmath>
#include <utility>

namespace vexa::host {

namespace {

const QString kAddress = QStringLiteral("address"), kBegun = QStringLiteral("begun"),
              kDuration = QStringLiteral("duration"), kPosition = QStringLiteral("position"),
              kSpeeds = QStringLiteral("speeds"), kUpNext = QStringLiteral("next"), kWhen = QStringLiteral("when");

constexpr std::size_t kMost = 2000;                   // few enough for the file to be written often
constexpr double kSamePlace = 0.01;                   // s
constexpr double kEndShare = 0.01, kEndSeconds = 10;  // with no more than the smaller one left, a file counts as heard

}  // namespace

class Positions::SaveTask final : public Task {
public:
    SaveTask(std::shared_ptr<JsonFile> file, QByteArray json, std::shared_ptr<SaveState> state)
        : FFile(std::move(file)), FJson(std::move(json)), FState(std::move(state)) {}
    void Execute() override {
        try {
            FFile->Save(FJson);
        } catch (...) {
            FState->HasFailed = true;
            throw;
        }
    }
    void Complete() override { FState->IsSaving = false; }

private:
    const std::shared_ptr<JsonFile> FFile;
    const QByteArray FJson;
    const std::shared_ptr<SaveState> FState;
};

Positions::Positions(const QString& profileFolder)
    : FFile(std::make_shared<JsonFile>(QDir(profileFolder).filePath(QStringLiteral("Positions.json")),
                                       HostReason("KeptPositions"))) {
    const QJsonObject json = FFile->Load(kBegun);
    for (const QJsonValue value : json[kBegun].toArray()) {
        HeardFile file{value[kAddress].toString(), value[kPosition].toDouble(), value[kDuration].toDouble(),
                       static_cast<qint64>(value[kWhen].toDouble())};
        if (!file.Address.isEmpty() && file.Position > 0 && FBegun.size() < kMost) FBegun.push_back(std::move(file));
    }
    const QJsonObject speeds = json[kSpeeds].toObject();
    for (auto speed = speeds.begin(); speed != speeds.end(); ++speed)
        if (speed.value().toDouble() > 0) FSpeeds.insert(speed.key(), speed.value().toDouble());
    for (const QJsonValue value : json[kUpNext].toArray())
        if (value.isString()) FUpNext += value.toString();
}

Positions::~Positions() {
    WorkerPool::Cancel(FSaving, true);
}

const HeardFile* Positions::Find(const QString& address) const {
    const auto found =
        std::find_if(FBegun.begin(), FBegun.end(), [&](const auto& file) { return file.Address == address; });
    return found == FBegun.end() ? nullptr : &*found;
}

const HeardFile* Positions::LastHeard() const {
    const auto found = std::find_if(FBegun.begin(), FBegun.end(), [](const auto& file) { return !file.IsGone; });
    return found == FBegun.end() ? nullptr : &*found;
}

void Positions::Leave(const QString& address, double position, double duration) {
    VEXA_ASSERT_MAIN_THREAD();
    const double rest = std::min(kEndSeconds, kEndShare * duration);
    if (address.isEmpty()) return;
    if (position <= 0 || (duration > 0 && position >= duration - rest)) return Forget(address);
    const HeardFile* left = Find(address);
    const bool isSame = left && std::abs(left->Position - position) < kSamePlace && left->LeftAt > 0;
    const qint64 when = isSame ? left->LeftAt : QDateTime::currentMSecsSinceEpoch();
    std::erase_if(FBegun, [&](const auto& file) { return file.Address == address; });
    FBegun.insert(FBegun.begin(), {address, position, duration, when});
    if (FBegun.size() > kMost) FBegun.resize(kMost);
    FIsChanged = true;
}

void Positions::Forget(const QString& address) {
    VEXA_ASSERT_MAIN_THREAD();
    if (std::erase_if(FBegun, [&](const auto& file) { return file.Address == address; }) > 0) FIsChanged = true;
}

void Positions::SetHeard(const QString& address) {
    if (const HeardFile* file = Find(address))
        FHeard.insert(address, {*file, FBegun.size() - 1 - static_cast<std::size_t>(file - FBegun.data())});
    Forget(address);
}

bool Positions::TakeBackHeard(const QString& address) {
    VEXA_ASSERT_MAIN_THREAD();
    const auto heard = FHeard.constFind(address);
    if (heard == FHeard.constEnd() || Find(address)) return false;
    const auto older = static_cast<std::ptrdiff_t>(std::min(heard->Older, FBegun.size()));
    FBegun.insert(FBegun.end() - older, heard->File);
    FHeard.erase(heard);
    return FIsChanged = true;
}

bool Positions::Move(const AddressMoves& moves) {
    VEXA_ASSERT_MAIN_THREAD();
    const auto hasMoved = [&](const QString& address) { return moves.contains(address); };
    const bool areBegun =
        std::any_of(FBegun.begin(), FBegun.end(), [&](const HeardFile& file) { return hasMoved(file.Address); });
    if (!areBegun && std::none_of(FUpNext.begin(), FUpNext.end(), hasMoved)) return false;
    AddressMover begunMover(moves), nextMover(moves);
    std::vector<HeardFile> begun;
    QStringList next;
    for (HeardFile& file : FBegun)
        if (begunMover.Move(file.Address)) begun.push_back(std::move(file));
    for (QString& address : FUpNext)
        if (nextMover.Move(address)) next += address;
    FBegun = std::move(begun);
    FUpNext = next;
    return FIsChanged = true;
}

bool Positions::SetGone(const QSet<QString>& gone) {
    VEXA_ASSERT_MAIN_THREAD();
    bool isChanged = false;
    for (HeardFile& file : FBegun) isChanged |= std::exchange(file.IsGone, gone.contains(file.Address)) != file.IsGone;
    QStringList next;
    for (qsizetype place = 0; place < FUpNext.size(); ++place) {
        if (gone.contains(FUpNext[place]))
            FGoneNext.Add(place, FUpNext[place]);
        else
            next += FUpNext[place];
    }
    for (const auto& [place, address] : FGoneNext.TakeReturned(gone, [](const QString& each) { return each; }))
        next.insert(std::min(place, next.size()), address);
    const bool isNextChanged = next != FUpNext;
    FUpNext = next;
    FIsChanged |= isNextChanged;
    return isChanged || isNextChanged;
}

void Positions::SetSpeed(const QString& album, double speed) {
    VEXA_ASSERT_MAIN_THREAD();
    if (album.isEmpty() || Speed(album) == speed) return;
    if (speed == 1)
        FSpeeds.remove(album);
    else
        FSpeeds.insert(album, speed);
    FIsChanged = true;
}

void Positions::SetUpNext(const QStringList& addresses) {
    VEXA_ASSERT_MAIN_THREAD();
    if (FUpNext == addresses) return;
    if (addresses.isEmpty()) FGoneNext.Clear();
    FUpNext = addresses;
    FIsChanged = true;
}

QByteArray Positions::ToJson() const {
    QJsonArray begun;
    for (const HeardFile& file : FBegun)
        begun += QJsonObject{{kAddress, file.Address},
                             {kPosition, file.Position},
                             {kDuration, file.Duration},
                             {kWhen, static_cast<double>(file.LeftAt)}};
    QJsonObject speeds;
    for (auto speed = FSpeeds.begin(); speed != FSpeeds.end(); ++speed) speeds.insert(speed.key(), speed.value());
    const QJsonObject json{{kBegun, begun}, {kSpeeds, speeds}, {kUpNext, QJsonArray::fromStringList(FUpNext)}};
    return QJsonDocument(json).toJson();
}

void Positions::Save() {
    VEXA_ASSERT_MAIN_THREAD();
    WorkerPool::Cancel(std::exchange(FSaving, 0), true);
    if (FState->HasFailed.exchange(false)) FIsChanged = true;
    if (!FIsChanged) return;
    FFile->Save(ToJson());
    FIsChanged = false;
}

bool Positions::SaveInBackground() {
    VEXA_ASSERT_MAIN_THREAD();
    if (!FIsChanged) return true;
    if (FState->IsSaving.exchange(true)) return false;
    FIsChanged = false;
    FSaving = WorkerPool::Run(std::make_unique<SaveTask>(FFile, ToJson(), FState));
    return true;
}

}  // namespace vexa::host
