#include "AudioTags.h"

#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <aifffile.h>
#include <attachedpictureframe.h>
#include <fileref.h>
#include <flacfile.h>
#include <id3v2tag.h>
#include <mp4file.h>
#include <mpegfile.h>
#include <tpropertymap.h>
#include <wavfile.h>
#include <xiphcomment.h>

namespace vexa::host {

namespace {

using AttachedPicture = TagLib::ID3v2::AttachedPictureFrame;

QString ToText(const TagLib::String& text) {
    return QString::fromStdWString(text.toWString());
}

QByteArray ToBytes(const TagLib::ByteVector& bytes) {
    return QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

/// Opens regular files only: TagLib would wait for ever for a pipe.
TagLib::FileRef Open(const QString& fileName, bool withProperties) {
    if (!QFileInfo(fileName).isFile()) return {};
    return TagLib::FileRef(QFile::encodeName(fileName).constData(), withProperties);
}

QString ToDate(const QString& written) {
    qsizetype length = 0;
    while (length < written.size() && length < 10) {
        const bool wantsDash = length == 4 || length == 7;
        if (wantsDash ? written[length] != u'-' : !written[length].isDigit()) break;
        ++length;
    }
    const qsizetype whole = length >= 10 ? 10 : length >= 7 ? 7 : length >= 4 ? 4 : 0;
    return written.first(whole).replace(u'-', u'.');
}

QByteArray PictureOf(TagLib::ID3v2::Tag* tag) {
    if (!tag) return {};
    QByteArray first;
    for (TagLib::ID3v2::Frame* frame : tag->frameList("APIC")) {
        const auto* picture = dynamic_cast<AttachedPicture*>(frame);
        if (!picture) continue;
        if (picture->type() == AttachedPicture::FrontCover) return ToBytes(picture->picture());
        if (first.isEmpty()) first = ToBytes(picture->picture());
    }
    return first;
}

QByteArray PictureOf(const TagLib::List<TagLib::FLAC::Picture*>& pictures) {
    QByteArray first;
    for (const TagLib::FLAC::Picture* picture : pictures) {
        if (picture->type() == TagLib::FLAC::Picture::FrontCover) return ToBytes(picture->data());
        if (first.isEmpty()) first = ToBytes(picture->data());
    }
    return first;
}

QByteArray PictureOf(TagLib::MP4::Tag* tag) {
    if (!tag || !tag->contains("covr")) return {};
    const TagLib::MP4::CoverArtList covers = tag->item("covr").toCoverArtList();
    return covers.isEmpty() ? QByteArray() : ToBytes(covers.front().data());
}

}  // namespace

QString LocalFileName(const QString& address) {
    if (address.startsWith(u'/')) return address;
    const QUrl url(address);
    return url.isLocalFile() ? url.toLocalFile() : QString();
}

std::optional<AudioTags> ReadAudioTags(const QString& fileName) {
    const TagLib::FileRef file = Open(fileName, true);
    if (file.isNull() || !file.file()->isValid()) return std::nullopt;
    const TagLib::PropertyMap values = file.file()->properties();
    const auto value = [&values](const char* name) {
        const auto found = values.find(name);
        return found == values.end() || found->second.isEmpty() ? QString() : ToText(found->second.front());
    };
    AudioTags tags;
    tags.Title = value("TITLE");
    tags.Artist = value("ARTIST");
    tags.Album = value("ALBUM");
    tags.AlbumArtist = value("ALBUMARTIST");
    tags.Genre = value("GENRE");
    tags.Comment = value("COMMENT");
    tags.Copyright = value("COPYRIGHT");
    tags.Date = ToDate(value("DATE"));
    if (const TagLib::AudioProperties* audio = file.audioProperties()) {
        tags.SampleRate = audio->sampleRate();
        tags.Channels = audio->channels();
        tags.Duration = audio->lengthInMilliseconds() / 1000.0;
    }
    return tags;
}

QByteArray ReadEmbeddedPicture(const QString& fileName) {
    const TagLib::FileRef opened = Open(fileName, false);
    TagLib::File* file = opened.isNull() ? nullptr : opened.file();
    if (!file) return {};
    if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(file)) return PictureOf(mpeg->ID3v2Tag());
    if (auto* mp4 = dynamic_cast<TagLib::MP4::File*>(file)) return PictureOf(mp4->tag());
    if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(file)) return PictureOf(wav->ID3v2Tag());
    if (auto* aiff = dynamic_cast<TagLib::RIFF::AIFF::File*>(file)) return PictureOf(aiff->tag());
    if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(file)) {
        const QByteArray picture = PictureOf(flac->pictureList());
        return picture.isEmpty() ? PictureOf(flac->ID3v2Tag()) : picture;
    }
    if (auto* xiph = dynamic_cast<TagLib::Ogg::XiphComment*>(file->tag())) return PictureOf(xiph->pictureList());
    return {};
}

}  // namespace vexa::host
