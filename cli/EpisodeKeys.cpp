#include "EpisodeKeys.h"

#include "VEXA.Runtime.Text.h"

#include <QRegularExpression>

#include <algorithm>
#include <cstring>

namespace podcasts::cli {

namespace {

constexpr int kFewestDigits = 8;

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

QString EpisodeKeys::Entries::GUID(std::size_t index) const {
    return vexa::FromUtf8(std::string_view(GUIDs).substr(Begins[index], Begins[index + 1] - Begins[index]));
}

EpisodeKeys::Digest EpisodeKeys::DigestOf(std::string_view guid) {
    FHash.reset();
    FHash.addData(QByteArrayView(guid.data(), static_cast<qsizetype>(guid.size())));
    Digest digest;
    std::memcpy(digest.data(), FHash.resultView().data(), digest.size());
    return digest;
}

const EpisodeKeys::Entries& EpisodeKeys::EntriesOf(int feedID) {
    const auto [found, isNew] = FEntries.try_emplace(feedID);
    Entries& entries = found->second;
    if (!isNew) return entries;
    entries.Begins.push_back(0);
    FDB.EnumGUIDs(feedID, [&](std::string_view guid) {
        entries.Digests.push_back(DigestOf(guid));
        entries.GUIDs.append(guid);
        entries.Begins.push_back(entries.GUIDs.size());
    });
    return entries;
}

QString EpisodeKeys::Short(int feedID, const QString& guid) {
    const Digest digest = DigestOf(vexa::ToUtf8(guid));
    int digits = kFewestDigits;
    for (const Digest& other : EntriesOf(feedID).Digests)
        if (other != digest) digits = std::max(digits, CommonDigits(other, digest) + 1);
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
    // The digits as bytes; an odd last digit is half a byte.
    const QByteArray whole = QByteArray::fromHex(digits.left(digits.size() / 2 * 2).toLatin1());
    const auto begins = [&](const Digest& digest) {
        return std::memcmp(digest.data(), whole.constData(), static_cast<std::size_t>(whole.size())) == 0 &&
               (digits.size() % 2 == 0 || Hex(digest).startsWith(digits));
    };
    QStringList guids;
    for (std::size_t i = 0; i < entries.Digests.size(); ++i)
        if (begins(entries.Digests[i])) guids += entries.GUID(i);
    guids.removeDuplicates();
    if (guids.size() > 1) throw KeyError(u"the key " + text + u" names several episodes: give more of its digits");
    // Otherwise the key may have been printed before the publisher changed the GUID.
    if (guids.isEmpty()) guids = FDB.FindByOlderGUID(feedID, digits);
    if (guids.size() != 1) throw KeyError(u"there is no episode " + text + u": \"podcasts episodes\" prints the keys");
    return MakeEpisodeKey(feedID, guids.first());
}

}  // namespace podcasts::cli
