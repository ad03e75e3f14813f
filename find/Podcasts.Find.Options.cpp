#include "Podcasts.Find.Options.h"

#include <QLocale>

#include <algorithm>

namespace podcasts {

namespace {

using Kind = TPodcastConfigKey::Kind;

constexpr TPodcastConfigKey kCountry = {u"Podcasts.Find\\Country", Kind::String, true};
constexpr TPodcastConfigKey kKey = {u"Podcasts.Find\\PodcastIndexKey", Kind::String, true};
constexpr TPodcastConfigKey kSecret = {u"Podcasts.Find\\PodcastIndexSecret", Kind::Secret, true};

constexpr char16_t kDefaultCountry[] = u"US";  // the store's largest, for users whose locale names no country

bool IsCountry(const QString& text) {
    return text.size() == 2 && std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u'A' && c <= u'Z'; });
}

/// A kept rest is "TIME ADDRESS": it holds for the server at that address only.
QDateTime ReadRest(const QString& text, const QString& base) {
    if (text.section(u' ', 1) != base) return {};
    const QDateTime until = QDateTime::fromString(text.section(u' ', 0, 0), Qt::ISODate).toUTC();
    return until.isValid() ? until : QDateTime();
}

}  // namespace

QString TPodcastFindOptions::BaseOf(std::size_t directory) const {
    const QString& own = Directories[directory].Base;
    return own.isEmpty() ? QString::fromLatin1(PodcastDirectories()[directory].Address) : own;
}

QString TPodcastFindOptions::CountryOrDefault() const {
    for (const QString& country : {Country.trimmed().toUpper(), QLocale::system().name().section(u'_', 1, 1)})
        if (IsCountry(country)) return country;
    return QString::fromUtf16(kDefaultCountry);
}

bool TPodcastFindOptions::TakesPart(std::size_t directory) const {
    const bool hasKey = !Key.trimmed().isEmpty() && !Secret.trimmed().isEmpty();
    return Directories[directory].IsAsked && (hasKey || !PodcastDirectories()[directory].NeedsKey);
}

std::vector<TPodcastConfigKey> PodcastFindKeys() {
    std::vector<TPodcastConfigKey> keys;
    for (const TPodcastDirectory& directory : PodcastDirectories()) keys.push_back(directory.Ask);
    keys.insert(keys.end(), {kCountry, kKey, kSecret});
    for (const TPodcastDirectory& directory : PodcastDirectories()) keys.push_back(directory.Base);
    return keys;
}

TPodcastFindOptions ReadPodcastFindOptions(IPodcastConfig& config) {
    TPodcastFindOptions options;
    for (std::size_t i = 0; i < kPodcastDirectoryCount; ++i) {
        const TPodcastDirectory& directory = PodcastDirectories()[i];
        auto& own = options.Directories[i];
        own.IsAsked = config.ReadBool(directory.Ask.KeyPath(), own.IsAsked);
        own.Base = config.ReadString(directory.Base.KeyPath(), {}).trimmed();
        own.RestsUntil = ReadRest(config.ReadString(directory.Rest.KeyPath(), {}), options.BaseOf(i));
    }
    options.Country = config.ReadString(kCountry.KeyPath(), {});
    options.Key = config.ReadString(kKey.KeyPath(), {});
    options.Secret = config.ReadString(kSecret.KeyPath(), {});
    return options;
}

void WritePodcastFindOptions(IPodcastConfig& config, const TPodcastFindOptions& options) {
    for (std::size_t i = 0; i < kPodcastDirectoryCount; ++i) {
        const TPodcastDirectory& directory = PodcastDirectories()[i];
        config.WriteBool(directory.Ask.KeyPath(), options.Directories[i].IsAsked);
        config.WriteString(directory.Base.KeyPath(), options.Directories[i].Base);
        if (const QDateTime& until = options.Directories[i].RestsUntil; until.isValid())
            config.WriteString(directory.Rest.KeyPath(),
                               until.toUTC().toString(Qt::ISODate) + u' ' + options.BaseOf(i));
    }
    config.WriteString(kCountry.KeyPath(), options.Country);
    config.WriteString(kKey.KeyPath(), options.Key);
    config.WriteString(kSecret.KeyPath(), options.Secret);
}

}  // namespace podcasts
