#include "VEXA.Runtime.FileTypes.h"

#include "VEXA.Runtime.Files.h"

#include <QMimeDatabase>
#include <QRegularExpression>

#include <algorithm>
#include <span>
#include <string_view>

namespace vexa {

namespace {

struct MediaType {
    QStringView Type, Extension;
};
// The audio and video types of podcasts. The system's MIME database prefers unusual extensions for some of them and
// does not know others.
constexpr MediaType kMediaTypes[] = {
    {u"audio/mpeg", u".mp3"},      {u"audio/mp3", u".mp3"},      {u"audio/mpeg3", u".mp3"},
    {u"audio/x-mpeg", u".mp3"},    {u"audio/x-mp3", u".mp3"},    {u"audio/mpg", u".mp3"},
    {u"audio/x-mpeg-3", u".mp3"},  {u"audio/mp4", u".m4a"},      {u"audio/m4a", u".m4a"},
    {u"audio/x-m4a", u".m4a"},     {u"audio/x-m4b", u".m4b"},    {u"audio/aac", u".aac"},
    {u"audio/aacp", u".aac"},      {u"audio/x-aac", u".aac"},    {u"audio/ogg", u".ogg"},
    {u"application/ogg", u".ogg"}, {u"audio/vorbis", u".ogg"},   {u"audio/opus", u".opus"},
    {u"audio/flac", u".flac"},     {u"audio/x-flac", u".flac"},  {u"audio/wav", u".wav"},
    {u"audio/wave", u".wav"},      {u"audio/x-wav", u".wav"},    {u"audio/vnd.wave", u".wav"},
    {u"audio/webm", u".weba"},     {u"audio/x-ms-wma", u".wma"}, {u"audio/midi", u".mid"},
    {u"audio/aiff", u".aif"},      {u"audio/x-aiff", u".aif"},   {u"audio/x-ms-wax", u".wax"},
    {u"audio/ac3", u".ac3"},       {u"audio/basic", u".au"},     {u"audio/amr", u".amr"},
    {u"video/mp4", u".mp4"},       {u"video/x-m4v", u".m4v"},    {u"video/mpeg", u".mpg"},
    {u"video/quicktime", u".mov"}, {u"video/webm", u".webm"},    {u"video/ogg", u".ogv"},
};
// Further extensions of audio and video files.
constexpr QStringView kMediaExtensions[] = {u".mp2", u".mpga", u".oga", u".spx", u".mka",  u".aiff", u".wv",  u".ape",
                                            u".mkv", u".avi",  u".wmv", u".asf", u".mpeg", u".3gp",  u".flv", u".m4r"};

// Other extensions in the addresses of episodes, often of scripts that respond with audio. The system's MIME database
// is no alternative: it knows ".org" and ".fm", with which titles and names of shows end.
constexpr QStringView kOtherExtensions[] = {u".bin",  u".dat", u".php", u".asp",  u".aspx", u".jsp", u".cgi",
                                            u".html", u".htm", u".xml", u".rss",  u".json", u".txt", u".pdf",
                                            u".jpg",  u".png", u".gif", u".jpeg", u".webp", u".zip", u".m3u",
                                            u".m3u8", u".pls", u".doc", u".docx", u".epub"};

bool Contains(std::span<const QStringView> extensions, const QString& extension) {
    const auto isIt = [&](QStringView known) { return extension.compare(known, Qt::CaseInsensitive) == 0; };
    return std::any_of(extensions.begin(), extensions.end(), isIt);
}

QString TypeAlone(const QString& mimeType) {
    return mimeType.section(u';', 0, 0).trimmed().toLower();
}

QByteArrayView WithoutPrologue(QByteArrayView bytes) {
    if (bytes.startsWith("\xEF\xBB\xBF")) bytes = bytes.sliced(3);
    for (;;) {
        bytes = bytes.trimmed();
        const char* const close = bytes.startsWith("<?xml") ? "?>" : bytes.startsWith("<!--") ? "-->" : nullptr;
        const qsizetype end = close ? bytes.indexOf(close) : -1;
        if (end < 0) return bytes;
        bytes = bytes.sliced(end + qstrlen(close));
    }
}

}  // namespace

QString ExtensionOfMimeType(const QString& mimeType) {
    const QString type = TypeAlone(mimeType);
    for (const auto& [known, extension] : kMediaTypes)
        if (type == known) return extension.toString();
    const QMimeType registered = QMimeDatabase().mimeTypeForName(type);
    if (!registered.isValid() || registered.isDefault()) return {};
    const QString suffix = registered.preferredSuffix();
    return suffix.isEmpty() ? QString() : u'.' + suffix;
}

QString KnownExtension(const QString& fileName) {
    const QString extension = ExtractFileExt(fileName);
    return IsMediaExtension(extension) || Contains(kOtherExtensions, extension) ? extension : QString();
}

bool IsMediaExtension(const QString& extension) {
    const auto isOfType = [&](const MediaType& type) {
        return extension.compare(type.Extension, Qt::CaseInsensitive) == 0;
    };
    return std::any_of(std::begin(kMediaTypes), std::end(kMediaTypes), isOfType) ||
           Contains(kMediaExtensions, extension);
}

bool IsMedia(const QString& mimeType, const QString& address) {
    const QString type = TypeAlone(mimeType);
    if (type.startsWith(u"audio/") || type.startsWith(u"video/")) return true;
    if (type.contains(u'/') && !IsUnspecificMimeType(type))
        return std::any_of(std::begin(kMediaTypes), std::end(kMediaTypes),
                           [&](const MediaType& known) { return type == known.Type; });
    static const QRegularExpression query(QStringLiteral("[?#]"));
    return IsMediaExtension(ExtractFileExt(address.left(address.indexOf(query)).trimmed()));
}

bool IsUnspecificMimeType(const QString& mimeType) {
    const QString type = TypeAlone(mimeType);
    return type == u"application/octet-stream" || type == u"binary/octet-stream";
}

bool BeginsLikeMedia(QByteArrayView bytes) noexcept {
    const auto isAt = [&](qsizetype offset, std::string_view signature) {
        return bytes.size() >= offset + static_cast<qsizetype>(signature.size()) &&
               std::equal(signature.begin(), signature.end(), bytes.begin() + offset);
    };
    // MPEG audio begins with eleven set bits (ISO/IEC 11172-3, 2.4.1.3); FF FE is the byte-order mark of UTF-16.
    const bool isMpegAudio = bytes.size() >= 2 && bytes[0] == '\xFF' && bytes[1] != '\xFE' &&
                             (static_cast<unsigned char>(bytes[1]) & 0xE0) == 0xE0;
    return isMpegAudio || isAt(0, "ID3") || isAt(0, "OggS") || isAt(0, "fLaC") || isAt(0, "RIFF") || isAt(4, "ftyp") ||
           isAt(0, "\x1A\x45\xDF\xA3");
}

bool BeginsLikeHtmlPage(QByteArrayView bytes) noexcept {
    static constexpr std::string_view tags[] = {
        "!doctype html", "html",  "head", "script", "iframe", "h1", "div",  "font", "table",    "a",
        "style",         "title", "b",    "body",   "br",     "p",  "meta", "link", "noscript", "base"};
    const QByteArrayView start = WithoutPrologue(bytes);
    if (!start.startsWith('<')) return false;
    const QByteArrayView rest = start.sliced(1);
    return std::any_of(std::begin(tags), std::end(tags), [&](std::string_view tag) {
        const auto size = static_cast<qsizetype>(tag.size());
        if (rest.size() <= size) return false;
        const auto isSame = [](char c, char lower) { return c == lower || (c >= 'A' && c <= 'Z' && c + 32 == lower); };
        return std::equal(tag.begin(), tag.end(), rest.begin(), [&](char l, char c) { return isSame(c, l); }) &&
               std::string_view(" \t\r\n/>").find(rest[size]) != std::string_view::npos;
    });
}

}  // namespace vexa
