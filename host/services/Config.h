#pragma once
// Service: the user's configuration, in the profile's Settings.ini. Main thread.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Settings.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.SDK.Core.h"

#include <QTimer>

#include <memory>

namespace vexa::host {

/// What is set is on the disk a second later, written by another thread: no end of the program loses more. Numbers are
/// written in decimal, Booleans as 1 and 0, streams in base64.
class ConfigService final : public RefCountedObject<IVEXAServiceConfig> {
public:
    /// Reads the file. Throws std::runtime_error when there is one that cannot be read.
    explicit ConfigService(const QString& profileFolder);
    ~ConfigService() override;

    /// Nothing when the key is missing.
    std::optional<QString> Find(const QString& keyPath) { return FFile.Find(keyPath); }
    /// False for a key path that the file could not hold.
    bool Write(const QString& keyPath, const QString& value);
    /// Takes over what other programs have written meanwhile; what was set here stays. One that cannot be read is
    /// logged.
    void Reload();
    /// Writes to disk at once what was set. Empty, or why it could not, which is logged too.
    QString Save();

    HResult Flush() noexcept override;
    HResult GetValueAsFloat(IVEXAString* keyPath, double* value) noexcept override;
    HResult GetValueAsInt32(IVEXAString* keyPath, std::int32_t* value) noexcept override;
    HResult GetValueAsInt64(IVEXAString* keyPath, std::int64_t* value) noexcept override;
    HResult GetValueAsStream(IVEXAString* keyPath, IVEXAStream* value) noexcept override;
    HResult GetValueAsString(IVEXAString* keyPath, IVEXAString** value) noexcept override;
    HResult SetValueAsFloat(IVEXAString* keyPath, double value) noexcept override;
    HResult SetValueAsInt32(IVEXAString* keyPath, std::int32_t value) noexcept override;
    HResult SetValueAsInt64(IVEXAString* keyPath, std::int64_t value) noexcept override;
    HResult SetValueAsStream(IVEXAString* keyPath, IVEXAStream* value) noexcept override;
    HResult SetValueAsString(IVEXAString* keyPath, IVEXAString* value) noexcept override;

private:
    template <class Number>
    HResult Get(IVEXAString* keyPath, Number* number) noexcept;
    HResult Set(IVEXAString* keyPath, const QString& value);
    class SaveTask;
    void SaveInBackground();
    /// `saved` is null when that failed.
    void OnSaved(const SettingsFile& copied, const SettingsFile* saved);

    SettingsFile FFile;
    QTimer FSaver;
    TaskHandle FSaving = 0;                       // 0 while none is
    const std::shared_ptr<ConfigService*> FSelf;  // null when this object is gone; looked at on the main thread only
};

}  // namespace vexa::host
