#include "VEXA.Runtime.Reason.h"

#include "VEXA.Runtime.Reasons.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>
#include <vector>

namespace vexa {

namespace {

/// `text` with arguments at its places. A place without an argument stays.
QString Fill(const QString& text, const std::vector<QString>& arguments) {
    QString filled;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const int place = text[i] == u'%' && i + 1 < text.size() ? text[i + 1].unicode() - u'0' : 0;
        if (place < 1 || place > static_cast<int>(std::min<std::size_t>(arguments.size(), 9))) {
            filled += text[i];
            continue;
        }
        filled += arguments[static_cast<std::size_t>(place) - 1];
        ++i;
    }
    return filled;
}

}  // namespace

struct Reason::Data {
    const ReasonText* Text;  // null for words
    QString Words;
    std::vector<Reason> Arguments;
};

Reason::Reason(const ReasonText& text, std::initializer_list<Reason> arguments)
    : FData(std::make_shared<const Data>(Data{&text, {}, arguments})) {}

Reason::Reason(const QString& words) : FData(std::make_shared<const Data>(Data{nullptr, words, {}})) {}

QString Reason::English() const {
    return Translated([](const QString&) { return QString(); });
}

QString Reason::Translated(const std::function<QString(const QString& key)>& find) const {
    if (!FData) return {};
    if (!FData->Text) return FData->Words;
    QString text = find(QString::fromUtf8(FData->Text->Key));
    if (text.isEmpty()) text = QString::fromUtf8(FData->Text->English);
    std::vector<QString> arguments;
    for (const Reason& argument : FData->Arguments) arguments.push_back(argument.Translated(find));
    return Fill(text, arguments);
}

ReasonError::ReasonError(Reason why) : std::runtime_error(why.English().toStdString()), FWhy(std::move(why)) {}
ReasonError::~ReasonError() = default;

Reason ReasonOf(const std::exception& error) {
    const auto* const known = dynamic_cast<const ReasonError*>(&error);
    return known ? known->Why() : Reason(QString::fromUtf8(error.what()));
}

Reason CaughtReason() {
    try {
        throw;
    } catch (const std::exception& error) {
        return ReasonOf(error);
    } catch (...) {
        return {};
    }
}

Reason SystemReason(int error) {
    switch (error) {
        case ENOENT:
            return Reason(RuntimeReason("NoFile"));
        case EACCES:
            return Reason(RuntimeReason("NoPermission"));
        case ENOSPC:
            return Reason(RuntimeReason("DiskFull"));
        case EDQUOT:
            return Reason(RuntimeReason("QuotaExceeded"));
        case EROFS:
            return Reason(RuntimeReason("ReadOnlyDisk"));
        case EIO:
            return Reason(RuntimeReason("DiskFails"));
        case EFBIG:
            return Reason(RuntimeReason("FileTooLarge"));
        case ENAMETOOLONG:
            return Reason(RuntimeReason("NameTooLong"));
        case ENOTDIR:
            return Reason(RuntimeReason("NoFolder"));
        case EISDIR:
            return Reason(RuntimeReason("IsFolder"));
        default:
            return QString::fromLocal8Bit(std::generic_category().message(error));
    }
}

}  // namespace vexa
