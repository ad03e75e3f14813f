#pragma once
// Tags of sound files.

#include "Png.h"

#include <QFile>

#include <attachedpictureframe.h>
#include <id3v2tag.h>
#include <wavfile.h>

#include <functional>

namespace tests {

/// Adds a picture to the tag of a WAV file, and whatever `more` adds; returns the picture.
inline QByteArray AddPicture(
    const QString& fileName, int width, int height,
    const std::function<void(TagLib::ID3v2::Tag&)>& more = [](auto&) {}) {
    const QByteArray png = Png(width, height);
    TagLib::RIFF::WAV::File file(QFile::encodeName(fileName).constData());
    auto* frame = new TagLib::ID3v2::AttachedPictureFrame;  // the tag owns it
    frame->setMimeType("image/png");
    frame->setPicture(TagLib::ByteVector(png.constData(), static_cast<unsigned>(png.size())));
    file.ID3v2Tag()->addFrame(frame);
    more(*file.ID3v2Tag());
    file.save();
    return png;
}

}  // namespace tests
