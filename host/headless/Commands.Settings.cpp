// Commands about settings and texts.

#include "Commands.Functions.h"

namespace vexa::host::commands {

QJsonObject Config(Host& host, const QStringList& arguments) {
    const QString &verb = arguments[0], &key = arguments[1];
    if (verb == u"set" && arguments.size() == 3) {
        if (!host.Config().Write(key, arguments[2]))
            throw CommandError(key + u" cannot be a key: write it as Section\\Key", E_INVALIDARG);
        return {};
    }
    if (verb != u"get")
        throw CommandError(QStringLiteral("usage: config get KEY [DEFAULT] | set KEY VALUE"), E_INVALIDARG);
    const auto value = host.Config().Find(key);
    if (!value && arguments.size() < 3) throw CommandError(u"there is no setting " + key);
    return {{QStringLiteral("value"), value ? *value : arguments[2]}};
}

QJsonObject Text(Host& host, const QStringList& arguments) {
    const auto parts = host.Language().Find(arguments[0]);
    if (!parts) throw CommandError(u"there is no text " + arguments[0]);
    if (arguments.size() < 2) return {{QStringLiteral("text"), parts->join(u'|')}};
    bool isNumber = false;
    const int part = arguments[1].toInt(&isNumber);
    if (!isNumber) throw CommandError(QStringLiteral("a part is a number, counted from 0"), E_INVALIDARG);
    if (part < 0 || part >= parts->size())
        throw CommandError(arguments[0] + u" has " + QString::number(parts->size()) + u" parts, counted from 0");
    return {{QStringLiteral("text"), parts->at(part)}};
}

}  // namespace vexa::host::commands
