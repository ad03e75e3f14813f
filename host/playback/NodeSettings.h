#pragma once
// How the files of a node are played: settings by node, such as a podcast, of a storage whose nodes have options
// (IVEXAMLNodeOptions). They are kept in Nodes.json in the profile, and follow a node whose pair changes. Main thread.

#include "JsonFile.h"
#include "MusicLibrary.h"
#include "VEXA.Runtime.Threads.h"

#include <QObject>
#include <QTimer>

#include <map>
#include <memory>
#include <optional>
#include <tuple>
#include <vector>

namespace vexa::host {

/// A node of a storage, by its own pair.
struct NodeName {
    QString StorageID, Field, Value;
    auto Key() const { return std::tie(StorageID, Field, Value); }
    bool operator==(const NodeName& other) const { return Key() == other.Key(); }
    bool operator<(const NodeName& other) const { return Key() < other.Key(); }
};

struct ListeningSettings {
    double Speed = 1;
    int SkipStart = 0, SkipEnd = 0;  // seconds at the beginning and at the end of a file that are not played
    double Volume = 1;               // a factor, see MediaOutput::SetGain

    bool operator==(const ListeningSettings&) const = default;
};

class NodeSettings final : public QObject, private MusicLibraryListener {
    Q_OBJECT
public:
    static constexpr int kMaxSkip = 600;
    static constexpr double kLeastVolume = 0.5, kMostVolume = 2;

    /// Reads the file.
    NodeSettings(const QString& profileFolder, MusicLibraryService& library);
    /// Waits until the file is written.
    ~NodeSettings() override;

    /// The node that a file belongs to; nothing when no storage has it, or the node has no options.
    std::optional<NodeName> NodeOf(const QString& file) const;
    /// The node's present name; nothing when it has no options.
    std::optional<NodeName> Present(const NodeName& node) const;

    /// The defaults when nothing is stored.
    ListeningSettings Get(const NodeName& node) const;
    /// Values out of range are brought into it.
    void Set(const NodeName& node, ListeningSettings settings);

    /// Writes the changes. Throws ReasonError when that fails; the next call tries again.
    void Save();

Q_SIGNALS:
    /// Settings of some node have changed, or the node of some file is known by now.
    void Changed();

private:
    void OnDataChanged(const QString&) override { FFollowing.start(); }
    void OnTasksChanged(const QString&) override {}
    void OnStorageAdded(const QString&) override { FFollowing.start(); }
    void OnStorageEnding(const QString& storageID) override { FFileFields.erase(storageID); }
    void Follow();
    QByteArray ToJson() const;

    MusicLibraryService& FLibrary;
    const std::shared_ptr<JsonFile> FFile;
    std::map<NodeName, ListeningSettings> FSettings;
    mutable std::map<QString, QString> FFileFields;  // by storage, of those whose nodes have options
    QTimer FFollowing, FSaving;
    bool FIsChanged = false;
};

}  // namespace vexa::host
