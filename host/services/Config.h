#pragma once
// Service: the user's configuration, in the profile's Settings.ini. Main thread.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Settings.h"
#include "VEXA.SDK.Core.h"

namespace vexa::host {

/// Numbers are written in decimal, Booleans as 1 and 0, streams in base64.
class ConfigService final : public RefCountedObject<IVEXAServiceConfig> {
public:
    /// Reads the file. Throws std::runtime_error when there is one that cannot be read.
    explicit ConfigService(const QString& profileFolder);

    /// Nothing when the key is missing.
    std::optional<QString> Find(const QString& keyPath) { return FFile.Find(keyPath); }
    /// False for a key path that the file could not hold.
    bool Write(const QString& keyPath, const QString& value);
    /// Takes over what other programs have written meanwhile; what was set here stays. One that cannot be read is
    /// logged.
    void Reload();
    /// Writes to disk what was set. Throws std::runtime_error when it cannot; it is tried again the next time.
    void Save() { FFile.Save(); }

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

    SettingsFile FFile;
};

}  // namespace vexa::host
