#pragma once
// The only list of the configuration keys under "Podcasts\", with their kinds and their orders of reading and writing.
// A missing key means the option's default. The host's configuration service and the profile's Settings.ini both
// implement the small interface below.

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
        Integer,   // 0 or more
        Interval,  // an index into kUpdateIntervals
        Bool,
        String,
        FileName,  // a full path
        Secret,    // a text that lists show as "***"
    };
    const char16_t* Path;
    Kind Type;
    bool IsOption;  // true for options, false for state that the client stores

    QString KeyPath() const { return QString::fromUtf16(Path); }
    /// The last part of the path, by which users know the option.
    QString Name() const { return KeyPath().section(u'\\', -1); }
};

/// All keys, in the order in which they are written.
std::span<const TPodcastConfigKey> PodcastConfigKeys();

/// Reads the time of the last refresh and the options into the client, in the order of reading.
void ReadPodcastConfig(IPodcastConfig& config, TPodcastClient& client);
/// Reads only the options, for instance after another part of the program has written some.
void ReadPodcastOptions(IPodcastConfig& config, TPodcastClientOptions& options);
/// Writes the time of the last refresh and the options, in the order of PodcastConfigKeys.
void WritePodcastConfig(IPodcastConfig& config, const TPodcastClient& client);
/// Writes only the time of the last refresh.
void WritePodcastRefreshTime(IPodcastConfig& config, const TPodcastClient& client);

}  // namespace podcasts
