#include "EpisodeKeys.h"

#include "VEXA.Runtime.Text.h"

#include <QCryptographicHash>
#include <QRegularExpression>

#include <algorithm>
#include <cstring>

namespace podcasts::cli {

namespace {

constexpr int kFewestDigits = 8;

std::array<unsigned char, 16> DigestOf(const QString& guid) {
    const std::string bytes = vexa::ToUtf8(guid);
    const QByteArray hash = QCryptographicHash::hash(QByteArrayView(bytes), QCryptographicHash::Md5);
    std::array<unsigned char, 16> digest;
    std::memcpy(digest.data(), hash.constData(), digest.size());
    return digest;
}

QString Hex(const std::array<unsigned char, 16>& digest) {
    return QString::fromLatin1(QByteArray::fromRawData(reinterpret_cast<const char*>(digest.data()), 16).toHex());
}

int CommonDigits(const std::array<unsigned char, 16>& a, const std::array<unsigned char, 16>& b) {
    for (int i = 0; i < 16; ++i)
        if (a[static_cast<std::size_t>(i)] != b[static_cast<std::size_t>(i)])
            return 2 * i + (a[static_cast<std::size_t>(i)] >> 4 == b[static_cast<std::size_t>(i)] >> 4 ? 1 : 0);
    return 32;
}

const QRegularExpression& ShortForm() {
    static const QRegularExpression form(QStringLiteral("^([0-9]{1,9}):([0-9a-fA-F]{8,32})$"));
    return form;
}

}  // namespace

const EpisodeKeys::Entries& EpisodeKeys::EntriesOf(int feedID) {
    const auto [found, isNew] = FEntries.try_emplace(feedID);
    if (!isNew) return found->second;
    Entries& entries = found->second;
    FDB.EnumGUIDs(feedID, [&](const QString& guid) { entries.push_back({DigestOf(guid), guid}); });
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.Value < b.Value; });
    return entries;
}

QString EpisodeKeys::Short(int feedID, const QString& guid) {
    const Entries& entries = EntriesOf(feedID);
    const Digest digest = DigestOf(guid);
    const auto at = std::lower_bound(entries.begin(), entries.end(), digest,
                                     [](const Entry& entry, const Digest& value) { return entry.Value < value; });
    int digits = kFewestDigits;
    if (at != entries.begin()) digits = std::max(digits, CommonDigits(std::prev(at)->Value, digest) + 1);
    if (at != entries.end() && std::next(at) != entries.end())
        digits = std::max(digits, CommonDigits(std::next(at)->Value, digest) + 1);
    return QString::number(feedID) + u':' + Hex(digest).left(digits);
}

bool EpisodeKeys::IsShort(const QString& text) {
    return ShortForm().match(text).hasMatch();
}

QString EpisodeKeys::Resolve(const QString& text) {
    const auto match = ShortForm().match(text);
    if (!match.hasMatch()) {
        const int count = FDB.CountEpisodes(text);
        if (count == 1 && !text.startsWith(QChar(kEpisodeKeyDelimiter))) return text;
        if (count > 1) throw KeyError(u"the address " + text + u" names several episodes: use a key instead");
        throw KeyError(u"there is no episode " + text + u": \"podcasts episodes\" prints the keys");
    }
    const int feedID = match.captured(1).toInt();
    const QString digits = match.captured(2).toLower();
    const Entries& entries = EntriesOf(feedID);
    Digest least{};
    const QByteArray bytes = QByteArray::fromHex(digits.leftJustified(32, u'0').toLatin1());
    std::memcpy(least.data(), bytes.constData(), least.size());
    const auto at = std::lower_bound(entries.begin(), entries.end(), least,
                                     [](const Entry& entry, const Digest& value) { return entry.Value < value; });
    const auto begins = [&](auto entry) { return entry != entries.end() && Hex(entry->Value).startsWith(digits); };
    if (!begins(at)) {
        // A key that was printed before the publisher changed the GUID.
        const QStringList guids = FDB.FindByOlderGUID(feedID, digits);
        if (guids.size() == 1) return MakeEpisodeKey(feedID, guids.first());
        throw KeyError(u"there is no episode " + text + u": \"podcasts episodes\" prints the keys");
    }
    if (begins(std::next(at))) throw KeyError(u"the key " + text + u" names several episodes: give more of its digits");
    return MakeEpisodeKey(feedID, at->GUID);
}

}  // namespace podcasts::cli
