#pragma once
// Service: the user's configuration, in the profile's Settings.ini. Main thread.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Settings.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.SDK.Core.h"

#include <QTimer>

#include <memory>

namespace vexa::host {

/// A second after a value was set, a worker thread writes the file, so that even a crash loses no more than that
/// second. Numbers are written in decimal, Booleans as 1 and 0, streams in base64.
class ConfigService final : public RefCountedObject<IVEXAServiceConfig> {
public:
    /// Reads the file, which may be missing. Throws std::runtime_error when the file exists but cannot be read.
    explicit ConfigService(const QString& profileFolder);
    ~ConfigService() override;

    /// Nothing when the key is missing.
    std::optional<QString> Find(const QString& keyPath) { return FFile.Find(keyPath); }
    /// False for a key path that the file format cannot hold.
    bool Write(const QString& keyPath, const QString& value);
    /// Takes over what other programs have written to the file; values set here and not saved yet stay. A file that
    /// cannot be read is logged.
    void Reload();
    /// Writes the values that were set to disk at once. Throws std::runtime_error when that fails; the next call tries
    /// again.
    void Save();

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
    /// Called on the main thread after SaveInBackground. `copied` is the file as it was then, `saved` the copy after it
    /// was written; null when writing failed.
    void OnSaved(const SettingsFile& copied, const SettingsFile* saved);

    SettingsFile FFile;
    QTimer FSaver;
    TaskHandle FSaving = 0;                       // 0 while no task is saving
    const std::shared_ptr<ConfigService*> FSelf;  // null once this object is destroyed; used on the main thread only
};

}  // namespace vexa::host
