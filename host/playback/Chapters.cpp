#include "Chapters.h"

#include <QFile>
#include <QFileInfo>

#include <aifffile.h>
#include <chapterframe.h>
#include <fileref.h>
#include <flacfile.h>
#include <id3v2tag.h>
#include <mpegfile.h>
#include <wavfile.h>

#include <algorithm>

namespace vexa::host {

namespace {

TagLib::ID3v2::Tag* TagOf(TagLib::File* file) {
    if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(file)) return mpeg->ID3v2Tag();
    if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(file)) return wav->ID3v2Tag();
    if (auto* aiff = dynamic_cast<TagLib::RIFF::AIFF::File*>(file)) return aiff->tag();
    if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(file)) return flac->ID3v2Tag();
    return nullptr;
}

}  // namespace

std::vector<Chapter> ReadChapters(const QString& fileName) {
    std::vector<Chapter> chapters;
    if (!QFileInfo(fileName).isFile()) return chapters;
    const TagLib::FileRef file(QFile::encodeName(fileName).constData(), false);
    TagLib::ID3v2::Tag* tag = file.isNull() ? nullptr : TagOf(file.file());
    if (!tag) return chapters;
    for (TagLib::ID3v2::Frame* frame : tag->frameList("CHAP")) {
        const auto* chapter = dynamic_cast<TagLib::ID3v2::ChapterFrame*>(frame);
        if (!chapter) continue;
        const auto& titles = chapter->embeddedFrameList("TIT2");
        const QString title =
            titles.isEmpty() ? QString() : QString::fromStdWString(titles.front()->toString().toWString());
        chapters.push_back({chapter->startTime() / 1000.0, title.simplified()});
    }
    std::stable_sort(chapters.begin(), chapters.end(), [](const auto& a, const auto& b) { return a.Start < b.Start; });
    return chapters;
}

}  // namespace vexa::host
