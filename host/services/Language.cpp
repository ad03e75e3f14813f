#include "Language.h"

#include "Guarded.h"
#include "Strings.h"
#include "VEXA.Runtime.Threads.h"

#include <QDir>
#include <QLocale>

namespace vexa::host {

namespace {

const QString kEnglish = QStringLiteral("English");
const QString kExtension = QStringLiteral(".lng");

}  // namespace

LanguageService::LanguageService(const QString& folder, const QString& language, Ref<MessageDispatcher> messages)
    : FFolder(folder), FMessages(std::move(messages)), FEnglish(Load(kEnglish)), FLanguage(kEnglish), FTexts(FEnglish) {
    if (!language.isEmpty()) {
        if (!Use(language))
            qCWarning(LogHost).noquote() << "there is no language" << language << "in" << FFolder
                                         << ": English is used";
        return;
    }
    Use(QLocale::languageToString(QLocale::system().language()));
}

QStringList LanguageService::Languages() const {
    QStringList names;
    for (const QString& file : QDir(FFolder).entryList({QString(u'*' + kExtension)}, QDir::Files, QDir::Name))
        names += file.chopped(kExtension.size());
    return names;
}

QString LanguageService::Language() const {
    const TLock lock(FMutex);
    return FLanguage;
}

std::shared_ptr<const LanguageFile> LanguageService::Load(const QString& language) const {
    try {
        return std::make_shared<const LanguageFile>(LanguageFile::Load(QDir(FFolder).filePath(language + kExtension)));
    } catch (const std::exception& error) {
        qCWarning(LogHost).noquote() << error.what();
        return std::make_shared<const LanguageFile>();
    }
}

bool LanguageService::Use(const QString& language) {
    for (const QString& name : Languages()) {
        if (name.compare(language, Qt::CaseInsensitive) != 0) continue;
        auto texts = Load(name);
        const TLock lock(FMutex);
        FLanguage = name;
        FTexts = std::move(texts);
        return true;
    }
    return false;
}

bool LanguageService::Switch(const QString& language) {
    VEXA_ASSERT_MAIN_THREAD();
    if (!Use(language)) return false;
    if (FMessages) FMessages->Send(kMsgLanguageChanged, 0, nullptr);
    return true;
}

std::optional<QStringList> LanguageService::Find(const QString& keyPath) const {
    std::shared_ptr<const LanguageFile> texts;
    {
        const TLock lock(FMutex);
        texts = FTexts;
    }
    auto found = texts->Find(keyPath);
    return found ? found : FEnglish->Find(keyPath);
}

QString LanguageService::Text(const QString& keyPath, int part) const {
    const auto parts = Find(keyPath);
    return parts ? parts->value(part) : QString();
}

QString LanguageService::Text(const Reason& why) const {
    return why.Translated([this](const QString& keyPath) { return Text(keyPath); });
}

HResult LanguageService::GetName(IVEXAString** name) noexcept {
    return Guarded("giving the language's name", [&] {
        std::shared_ptr<const LanguageFile> texts;
        {
            const TLock lock(FMutex);
            texts = FTexts;
        }
        return PutString(texts->Name(), name);
    });
}

HResult LanguageService::GetValue(IVEXAString* keyPath, IVEXAString** value) noexcept {
    if (!value) return E_POINTER;
    *value = nullptr;
    return Guarded("giving a text", [&] {
        const auto parts = Find(ToQString(keyPath));
        return parts ? PutString(parts->join(u'|'), value) : E_FAIL;
    });
}

HResult LanguageService::GetValuePart(IVEXAString* keyPath, std::int32_t part, IVEXAString** value) noexcept {
    if (!value) return E_POINTER;
    *value = nullptr;
    return Guarded("giving a text", [&] {
        const auto parts = Find(ToQString(keyPath));
        return parts && part >= 0 && part < parts->size() ? PutString(parts->at(part), value) : E_FAIL;
    });
}

}  // namespace vexa::host
