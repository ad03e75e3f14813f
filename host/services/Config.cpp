#include "Config.h"

#include "Guarded.h"
#include "PropertyStore.h"
#include "Streams.h"
#include "Strings.h"
#include "VEXA.Runtime.Threads.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

namespace vexa::host {

namespace {

constexpr std::chrono::milliseconds kSaveAfter{700};

/// A key path is refused if the file, read back, would yield another key or none.
bool IsKeyPath(const QString& keyPath) {
    const QString key = keyPath.sliced(keyPath.lastIndexOf(u'\\') + 1);
    const QString section = keyPath.chopped(key.size());
    const auto isControl = [](QChar c) { return c.category() == QChar::Other_Control; };
    // U+FEFF in front would be read as the file's byte-order mark.
    return !key.isEmpty() && !keyPath.startsWith(u'\\') && key == key.trimmed() && !key.contains(u'=') &&
           !QStringView(u";#[\uFEFF").contains(key.front()) &&
           std::none_of(keyPath.cbegin(), keyPath.cend(), isControl) && section.count(u'[') + section.count(u']') == 0;
}

}  // namespace

/// Saves on a worker thread, because the disk may be slow, or another program may hold the file's lock.
class ConfigService::SaveTask final : public Task {
public:
    SaveTask(const SettingsFile& file, std::shared_ptr<ConfigService*> owner)
        : FCopied(file), FSaved(file), FOwner(std::move(owner)) {}

    void Execute() override {
        try {
            FSaved.Save();
            FIsSaved = true;
        } catch (const std::exception& error) {
            qCWarning(LogHost).noquote() << error.what();  // tried again after the next change, and at the end
        }
    }
    void Complete() override {
        RunInMainThread(
            [copied = FCopied, saved = FSaved, isSaved = FIsSaved, owner = FOwner] {
                if (*owner) (*owner)->OnSaved(copied, isSaved ? &saved : nullptr);
            },
            false);
    }

private:
    const SettingsFile FCopied;
    SettingsFile FSaved;
    bool FIsSaved = false;
    const std::shared_ptr<ConfigService*> FOwner;
};

ConfigService::ConfigService(const QString& profileFolder)
    : FFile(SettingsFileName(profileFolder)), FSelf(std::make_shared<ConfigService*>(this)) {
    FSaver.setSingleShot(true);
    FSaver.setInterval(kSaveAfter);
    FSaver.callOnTimeout([this] { SaveInBackground(); });
}

ConfigService::~ConfigService() {
    *FSelf = nullptr;
}

bool ConfigService::Write(const QString& keyPath, const QString& value) {
    VEXA_ASSERT_MAIN_THREAD();
    if (!IsKeyPath(keyPath)) return false;
    FFile.Write(keyPath, value);
    if (FFile.HasChanges() && FSaving == 0 && !FSaver.isActive()) FSaver.start();
    return true;
}

void ConfigService::SaveInBackground() {
    FSaving = WorkerPool::Run(std::make_unique<SaveTask>(FFile, FSelf));
}

void ConfigService::OnSaved(const SettingsFile& copied, const SettingsFile* saved) {
    if (FSaving == 0) return;  // Save has saved everything since
    FSaving = 0;
    if (!saved) return;
    FFile.TakeSaved(copied, *saved);
    if (FFile.HasChanges()) FSaver.start();
}

void ConfigService::Reload() {
    VEXA_ASSERT_MAIN_THREAD();
    try {
        FFile.Reload();
    } catch (const std::exception& error) {
        qCWarning(LogHost).noquote() << error.what();
    }
}

void ConfigService::Save() {
    VEXA_ASSERT_MAIN_THREAD();
    FSaver.stop();
    // Wait for a write in the background, whose contents are older.
    WorkerPool::Cancel(std::exchange(FSaving, 0), true);
    FFile.Save();
}

HResult ConfigService::Flush() noexcept {
    const HResult result = Guarded("writing the settings", [this] { Save(); });
    return Failed(result) ? E_FAIL : result;
}

template <class Number>
HResult ConfigService::Get(IVEXAString* keyPath, Number* number) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!number) return E_POINTER;
    *number = 0;
    return Guarded("reading a setting", [&] {
        const auto text = FFile.Find(ToQString(keyPath));
        const auto converted = text ? Converted<Number>(PropertyValue(*text)) : std::nullopt;
        *number = converted.value_or(0);
        return converted ? S_OK : E_FAIL;
    });
}

HResult ConfigService::GetValueAsFloat(IVEXAString* keyPath, double* value) noexcept {
    return Get(keyPath, value);
}

HResult ConfigService::GetValueAsInt32(IVEXAString* keyPath, std::int32_t* value) noexcept {
    return Get(keyPath, value);
}

HResult ConfigService::GetValueAsInt64(IVEXAString* keyPath, std::int64_t* value) noexcept {
    return Get(keyPath, value);
}

HResult ConfigService::GetValueAsStream(IVEXAString* keyPath, IVEXAStream* value) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!value) return E_POINTER;
    return Guarded("reading a setting", [&] {
        const auto text = FFile.Find(ToQString(keyPath));
        if (!text) return E_FAIL;
        const auto bytes = QByteArray::fromBase64Encoding(text->toUtf8(), QByteArray::AbortOnBase64DecodingErrors);
        return bytes ? ReplaceRest(*value, *bytes) : E_FAIL;
    });
}

HResult ConfigService::GetValueAsString(IVEXAString* keyPath, IVEXAString** value) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!value) return E_POINTER;
    *value = nullptr;
    return Guarded("reading a setting", [&] {
        const auto text = FFile.Find(ToQString(keyPath));
        return text ? PutString(*text, value) : E_FAIL;
    });
}

HResult ConfigService::Set(IVEXAString* keyPath, const QString& value) {
    return Write(ToQString(keyPath), value) ? S_OK : E_INVALIDARG;
}

HResult ConfigService::SetValueAsFloat(IVEXAString* keyPath, double value) noexcept {
    return Guarded("setting a value", [&] { return Set(keyPath, ToText(value)); });
}

HResult ConfigService::SetValueAsInt32(IVEXAString* keyPath, std::int32_t value) noexcept {
    return SetValueAsInt64(keyPath, value);
}

HResult ConfigService::SetValueAsInt64(IVEXAString* keyPath, std::int64_t value) noexcept {
    return Guarded("setting a value", [&] { return Set(keyPath, QString::number(value)); });
}

HResult ConfigService::SetValueAsStream(IVEXAString* keyPath, IVEXAStream* value) noexcept {
    if (!value) return E_POINTER;
    return Guarded("setting a value", [&] {
        const std::int64_t position = value->GetPosition();
        value->Seek(0, IVEXAStream::FromBeginning);
        const QByteArray bytes = ReadRest(*value);
        value->Seek(position, IVEXAStream::FromBeginning);
        return Set(keyPath, QString::fromLatin1(bytes.toBase64()));
    });
}

HResult ConfigService::SetValueAsString(IVEXAString* keyPath, IVEXAString* value) noexcept {
    return Guarded("setting a value", [&] { return Set(keyPath, ToQString(value)); });
}

}  // namespace vexa::host
