#include "Commands.h"

#include <QDir>

#include <algorithm>
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

const TPodcastConfigKey& FindOption(const QString& name) {
    QStringList names;
    for (const auto& key : PodcastConfigKeys()) {
        if (!key.IsOption) continue;
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
            config.WriteString(key.KeyPath(), value);
            break;
    }
}

}  // namespace

int RunOptions(Session& session, const Arguments& arguments) {
    Collector current;
    WritePodcastConfig(current, session.Client());
    if (arguments.Operands.isEmpty()) {
        for (const auto& key : PodcastConfigKeys())
            if (key.IsOption) session.Out().PrintLine(key.Name() + u'=' + SafeText(current.Values[key.KeyPath()]));
        return kDone;
    }
    const TPodcastConfigKey& key = FindOption(arguments.Operands.first());
    if (arguments.Operands.size() == 1) {
        session.Out().PrintLine(SafeText(current.Values[key.KeyPath()]));
        return kDone;
    }
    Change(session.Config(), key, arguments.Operands[1]);
    session.Config().Insist(key.KeyPath());
    session.Config().Save();
    return kDone;
}

}  // namespace podcasts::cli
