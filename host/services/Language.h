#pragma once
// Service: the texts of the user's language.

#include "LanguageFile.h"
#include "Messages.h"
#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.Runtime.Reason.h"
#include "VEXA.SDK.Core.h"

#include <memory>

namespace vexa::host {

/// Any thread may ask; only the main thread switches the language. Texts that a language lacks are taken from English.
class LanguageService final : public RefCountedObject<IVEXAServiceLanguage> {
public:
    /// `language` as in HostOptions; an unknown language is logged, and English used. `messages`, which may be null, is
    /// sent kMsgLanguageChanged after a switch.
    LanguageService(const QString& folder, const QString& language, Ref<MessageDispatcher> messages);

    /// The available languages: the base names of their files, sorted.
    QStringList Languages() const;
    /// The base name of the language in use.
    QString Language() const;
    /// False, with nothing changed, when there is no such language. Main thread.
    bool Switch(const QString& language);

    /// Nothing when there is no such key.
    std::optional<QStringList> Find(const QString& keyPath) const;
    /// One part of the value of a key; empty when the key or the part is missing.
    QString Text(const QString& keyPath, int part = 0) const;
    QString Text(const Reason& why) const;

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
