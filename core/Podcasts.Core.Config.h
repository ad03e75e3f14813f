#pragma once
// The configuration keys under "Podcasts\": their names, kinds and orders, once. A key that is missing counts as the
// option's default. The host's configuration service and the profile's Settings.ini both fill the small interface
// below.

#include <QString>

#include <span>

namespace podcasts {

class TPodcastClient;
class TPodcastClientOptions;

class IPodcastConfig {
public:
    virtual ~IPodcastConfig() = default;
    virtual int ReadInteger(const QString& keyPath, int defaultValue) = 0;
    virtual bool ReadBool(const QString& keyPath, bool defaultValue) = 0;
    virtual QString ReadString(const QString& keyPath, const QString& defaultValue) = 0;
    virtual void WriteInteger(const QString& keyPath, int value) = 0;
    virtual void WriteBool(const QString& keyPath, bool value) = 0;
    virtual void WriteString(const QString& keyPath, const QString& value) = 0;
};

struct TPodcastConfigKey {
    enum class Kind {
        Integer,   // from 0 on
        Interval,  // an index of kUpdateIntervals
        Bool,
        String,
        FileName,  // a full one
    };
    const char16_t* Path;
    Kind Type;
    bool IsOption;  // an option, rather than state that the client keeps

    QString KeyPath() const { return QString::fromUtf16(Path); }
    /// The last part of the path: what a person calls it.
    QString Name() const { return KeyPath().section(u'\\', -1); }
};

/// All keys in the order in which they are written.
std::span<const TPodcastConfigKey> PodcastConfigKeys();

/// Reads the time of the last refresh and the options into the client, in their order.
void ReadPodcastConfig(IPodcastConfig& config, TPodcastClient& client);
/// Reads the options alone, such as when something else has written some.
void ReadPodcastOptions(IPodcastConfig& config, TPodcastClientOptions& options);
/// Writes them back, in theirs.
void WritePodcastConfig(IPodcastConfig& config, const TPodcastClient& client);
/// Writes the time of the last refresh alone.
void WritePodcastRefreshTime(IPodcastConfig& config, const TPodcastClient& client);

}  // namespace podcasts
