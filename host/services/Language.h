#pragma once
// Service: the texts of the user's language.

#include "LanguageFile.h"
#include "Messages.h"
#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.SDK.Core.h"

#include <memory>

namespace vexa::host {

/// Any thread may ask; the main thread switches. What a language lacks is taken from English.
class LanguageService final : public RefCountedObject<IVEXAServiceLanguage> {
public:
    /// `language` as HostOptions has it; an unknown one is logged and English taken. `messages`, which may be null,
    /// hears of a switch.
    LanguageService(const QString& folder, const QString& language, Ref<MessageDispatcher> messages);

    /// The languages that there are files of: their base names, sorted.
    QStringList Languages() const;
    /// The base name of the one that is used.
    QString Language() const;
    /// False, with all as it was, when there is no such language. Main thread.
    bool Switch(const QString& language);

    /// Nothing when there is no such key.
    std::optional<QStringList> Find(const QString& keyPath) const;
    /// A part of the value of a key; empty when there is none.
    QString Text(const QString& keyPath, int part = 0) const;

    HResult GetName(IVEXAString** name) noexcept override;
    HResult GetValue(IVEXAString* keyPath, IVEXAString** value) noexcept override;
    HResult GetValuePart(IVEXAString* keyPath, std::int32_t part, IVEXAString** value) noexcept override;

private:
    std::shared_ptr<const LanguageFile> Load(const QString& language) const;
    bool Use(const QString& language);

    const QString FFolder;
    const Ref<MessageDispatcher> FMessages;
    std::shared_ptr<const LanguageFile> FEnglish;
    mutable TMutex FMutex;
    QString FLanguage VEXA_GUARDED_BY(FMutex);
    std::shared_ptr<const LanguageFile> FTexts VEXA_GUARDED_BY(FMutex);
};

}  // namespace vexa::host
