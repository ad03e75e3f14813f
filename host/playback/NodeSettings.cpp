#include "NodeSettings.h"

#include "Guarded.h"
#include "HostReasons.h"
#include "Library.h"
#include "MediaOutput.h"
#include "Strings.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <utility>

namespace vexa::host {

namespace {

using namespace std::chrono_literals;

const QString kNodes = QStringLiteral("nodes"), kStorage = QStringLiteral("storage"), kField = QStringLiteral("field"),
              kValue = QStringLiteral("value"), kSpeed = QStringLiteral("speed"),
              kSkipStart = QStringLiteral("skipStart"), kSkipEnd = QStringLiteral("skipEnd"),
              kVolume = QStringLiteral("volume");

ListeningSettings InRange(const ListeningSettings& settings) {
    const auto seconds = [](int value) { return std::clamp(value, 0, NodeSettings::kMaxSkip); };
    return {std::clamp(settings.Speed, MediaOutput::kSlowest, MediaOutput::kFastest), seconds(settings.SkipStart),
            seconds(settings.SkipEnd),
            std::clamp(settings.Volume, NodeSettings::kLeastVolume, NodeSettings::kMostVolume)};
}

Ref<IVEXAMLNodeOptions> OptionsOf(MusicLibraryService& library, const QString& storageID) {
    Ref<IVEXAMLNodeOptions> options;
    library.GetStorageByID(MakeString(storageID).Get(), IVEXAMLNodeOptions::IID, options.PutVoid());
    return options;
}

}  // namespace

NodeSettings::NodeSettings(const QString& profileFolder, MusicLibraryService& library)
    : FLibrary(library),
      FFile(std::make_shared<JsonFile>(QDir(profileFolder).filePath(QStringLiteral("Nodes.json")),
                                       HostReason("KeptNodes"))) {
    const QJsonObject json = FFile->Load(kNodes);
    for (const QJsonValue value : json[kNodes].toArray()) {
        const NodeName node{value[kStorage].toString(), value[kField].toString(), value[kValue].toString()};
        FSettings.insert_or_assign(node, InRange({value[kSpeed].toDouble(1), value[kSkipStart].toInt(),
                                                  value[kSkipEnd].toInt(), value[kVolume].toDouble(1)}));
    }
    FFollowing.setSingleShot(true);
    FFollowing.setInterval(0);  // several changes in one turn of the event loop become one
    connect(&FFollowing, &QTimer::timeout, this, &NodeSettings::Follow);
    FSaving.setSingleShot(true);
    FSaving.setInterval(1s);
    connect(&FSaving, &QTimer::timeout, this, [this] { Guarded("keeping the settings of nodes", [this] { Save(); }); });
    FLibrary.AddListener(this);
}

NodeSettings::~NodeSettings() {
    FLibrary.RemoveListener(this);
    Guarded("keeping the settings of nodes", [this] { Save(); });
}

std::optional<NodeName> NodeSettings::Present(const NodeName& node) const {
    VEXA_ASSERT_MAIN_THREAD();
    const auto options = OptionsOf(FLibrary, node.StorageID);
    if (!options) return std::nullopt;
    const auto field = MakeString(node.Field);
    Variant value = ToVariant(PropertyValue(node.Value));
    if (vexa::Failed(options->GetPresentNode(field.Get(), &value))) return std::nullopt;
    return NodeName{node.StorageID, ToQString(field.Get()), ToText(FromVariant(value))};
}

std::optional<NodeName> NodeSettings::NodeOf(const QString& file) const {
    if (file.isEmpty()) return std::nullopt;
    for (const QString& id : FLibrary.StorageIDs()) {
        if (!OptionsOf(FLibrary, id)) continue;
        auto fileField = FFileFields.find(id);
        if (fileField == FFileFields.end()) {
            const LibraryStorage storage(FLibrary, id);
            const LibraryField* field = storage.FileField();
            fileField = FFileFields.emplace(id, field ? field->Name : QString()).first;
        }
        if (auto node = Present({id, fileField->second, file})) return node;
    }
    return std::nullopt;
}

ListeningSettings NodeSettings::Get(const NodeName& node) const {
    const auto found = FSettings.find(node);
    return found == FSettings.end() ? ListeningSettings() : found->second;
}

void NodeSettings::Set(const NodeName& node, ListeningSettings settings) {
    VEXA_ASSERT_MAIN_THREAD();
    settings = InRange(settings);
    if (settings == Get(node)) return;
    if (settings == ListeningSettings())
        FSettings.erase(node);
    else
        FSettings.insert_or_assign(node, settings);
    FIsChanged = true;
    FSaving.start();
    Q_EMIT Changed();
}

/// Moves the settings of nodes whose pairs have changed.
void NodeSettings::Follow() {
    std::map<NodeName, ListeningSettings> moved;
    for (auto each = FSettings.begin(); each != FSettings.end();) {
        const auto present = Present(each->first);
        if (present && *present != each->first) {
            moved.insert_or_assign(*present, each->second);
            each = FSettings.erase(each);
        } else {
            ++each;
        }
    }
    if (!moved.empty()) {
        FSettings.merge(moved);  // a node that has settings already keeps them
        FIsChanged = true;
        FSaving.start();
    }
    Q_EMIT Changed();
}

QByteArray NodeSettings::ToJson() const {
    QJsonArray nodes;
    for (const auto& [node, settings] : FSettings)
        nodes += QJsonObject{{kStorage, node.StorageID},
                             {kField, node.Field},
                             {kValue, node.Value},
                             {kSpeed, settings.Speed},
                             {kSkipStart, settings.SkipStart},
                             {kSkipEnd, settings.SkipEnd},
                             {kVolume, settings.Volume}};
    return QJsonDocument(QJsonObject{{kNodes, nodes}}).toJson();
}

void NodeSettings::Save() {
    VEXA_ASSERT_MAIN_THREAD();
    if (!FIsChanged) return;
    FFile->Save(ToJson());
    FIsChanged = false;
}

}  // namespace vexa::host
