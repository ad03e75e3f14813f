#include "Commands.h"

#include "Podcasts.Find.Options.h"

#include <QDir>

#include <algorithm>
#include <iterator>
#include <map>

namespace podcasts::cli {

namespace {

/// Collects the values that WritePodcastConfig writes, as texts for the user.
class Collector final : public IPodcastConfig {
public:
    int ReadInteger(const QString&, int defaultValue) override { return defaultValue; }
    bool ReadBool(const QString&, bool defaultValue) override { return defaultValue; }
    QString ReadString(const QString&, const QString& defaultValue) override { return defaultValue; }
    void WriteInteger(const QString& keyPath, int value) override { Values[keyPath] = QString::number(value); }
    void WriteBool(const QString& keyPath, bool value) override { WriteInteger(keyPath, value ? 1 : 0); }
    void WriteString(const QString& keyPath, const QString& value) override { Values[keyPath] = value; }

    std::map<QString, QString> Values;
};

/// The keys that are options, in the order in which they are shown.
std::vector<TPodcastConfigKey> OptionKeys() {
    std::vector<TPodcastConfigKey> keys;
    std::ranges::copy_if(PodcastConfigKeys(), std::back_inserter(keys), &TPodcastConfigKey::IsOption);
    const auto ofFinding = PodcastFindKeys();
    keys.insert(keys.end(), ofFinding.begin(), ofFinding.end());
    return keys;
}

TPodcastConfigKey FindOption(const QString& name) {
    QStringList names;
    for (const auto& key : OptionKeys()) {
        if (key.Name().compare(name, Qt::CaseInsensitive) == 0) return key;
        names += key.Name();
    }
    throw UsageError(u"there is no option \"" + name + u"\"; the options are " + names.join(QStringLiteral(", ")));
}

bool ReadSwitch(const QString& name, const QString& value) {
    const QString word = value.toLower();
    for (const char16_t* yes : {u"1", u"true", u"yes", u"on"})
        if (word == QStringView(yes)) return true;
    for (const char16_t* no : {u"0", u"false", u"no", u"off"})
        if (word == QStringView(no)) return false;
    throw UsageError(name + u" is 1 or 0, not \"" + value + u'"');
}

/// Reads a non-negative number; −1 for any other text.
int ReadNumber(const QString& value) {
    bool isNumber = false;
    const int number = value.toInt(&isNumber);
    return isNumber ? std::max(number, -1) : -1;
}

void Change(SettingsConfig& config, const TPodcastConfigKey& key, const QString& value) {
    switch (key.Type) {
        case TPodcastConfigKey::Kind::Bool:
            config.WriteBool(key.KeyPath(), ReadSwitch(key.Name(), value));
            break;
        case TPodcastConfigKey::Kind::Interval:
            if (const int index = ReadNumber(value); index < 0 || index >= static_cast<int>(kUpdateIntervals.size()))
                throw UsageError(key.Name() + u" is 0 (never), 1 (hourly), 2 (daily) or 3 (weekly), not \"" + value +
                                 u'"');
            [[fallthrough]];
        case TPodcastConfigKey::Kind::Integer:
            if (ReadNumber(value) < 0) throw UsageError(key.Name() + u" is a number from 0 on, not \"" + value + u'"');
            config.WriteInteger(key.KeyPath(), ReadNumber(value));
            break;
        case TPodcastConfigKey::Kind::FileName:
            if (!QDir::isAbsolutePath(QString(value).replace(u'\\', u'/')))
                throw UsageError(key.Name() + u" is a full file name that begins with \"/\", not \"" + value + u'"');
            [[fallthrough]];
        case TPodcastConfigKey::Kind::String:
        case TPodcastConfigKey::Kind::Secret:
            config.WriteString(key.KeyPath(), value);
            break;
    }
}

}  // namespace

int RunOptions(Session& session, const Arguments& arguments) {
    Collector current;
    WritePodcastConfig(current, session.Client());
    WritePodcastFindOptions(current, ReadPodcastFindOptions(session.Config()));
    if (arguments.Operands.isEmpty()) {
        for (const auto& key : OptionKeys()) {
            const QString value = current.Values[key.KeyPath()];
            const bool isHidden = key.Type == TPodcastConfigKey::Kind::Secret && !value.isEmpty();
            session.Out().PrintLine(key.Name() + u'=' + (isHidden ? QStringLiteral("***") : SafeText(value)));
        }
        return kDone;
    }
    const TPodcastConfigKey key = FindOption(arguments.Operands.first());
    if (arguments.Operands.size() == 1) {
        session.Out().PrintLine(SafeText(current.Values[key.KeyPath()]));
        return kDone;
    }
    Change(session.Config(), key, arguments.Operands[1]);
    session.Config().Insist(key.KeyPath());
    session.Config().Save();
    return kDone;
}

int RunFeedOptions(Session& session, const Arguments& arguments) {
    const QStringList& operands = arguments.Operands;
    const TPodcastFeedOption* const chosen = operands.size() > 1 ? FindPodcastFeedOption(operands[1]) : nullptr;
    if (operands.size() > 1 && !chosen) {
        QStringList names;
        for (const auto& option : PodcastFeedOptions()) names += option.Name();
        throw UsageError(u"there is no feed option \"" + operands[1] + u"\"; the feed options are " +
                         names.join(QStringLiteral(", ")));
    }
    const int feedID = session.DB().GetFeedID(session.FindFeed(operands.first()));
    if (chosen && operands.size() == 3) {
        if (!session.Client().SetFeedOption(feedID, *chosen, operands[2]))
            throw UsageError(chosen->Name() + u" is " + chosen->Allowed() + u", not \"" + operands[2] + u'"');
        return kDone;
    }
    const auto all = session.DB().GetFeedOptions();
    const auto own = all.find(feedID);
    const TPodcastFeedOptions options = own == all.end() ? TPodcastFeedOptions() : own->second;
    if (chosen && !arguments.Json) {
        session.Out().PrintLine(chosen->ValueIn(options));
        return kDone;
    }
    JsonArrayPrinter json(session.Out());
    for (const TPodcastFeedOption& option : PodcastFeedOptions()) {
        if (chosen && chosen != &option) continue;
        const bool general = option.General && (session.Client().Options().*option.General)();
        const QString value = option.ValueIn(options);
        if (arguments.Json)
            json.Add({{QStringLiteral("name"), option.Name()},
                      {QStringLiteral("value"), option.Number ? QJsonValue(options.*option.Number) : value},
                      {QStringLiteral("general"), option.General ? QJsonValue(general) : QJsonValue()}});
        else
            session.Out().PrintLine(option.Name() + u'=' + value +
                                    (option.General ? QStringLiteral(" (%1)").arg(general ? 1 : 0) : QString()));
    }
    if (arguments.Json) json.End();
    return kDone;
}

}  // namespace podcasts::cli
