#include "FileInfo.h"

namespace vexa::host {

namespace {

constexpr PropertyRule kRules[] = {
    {IVEXAFileInfo::Album},     {IVEXAFileInfo::AlbumArtist}, {IVEXAFileInfo::Artist},   {IVEXAFileInfo::Comment},
    {IVEXAFileInfo::Copyright}, {IVEXAFileInfo::Date},        {IVEXAFileInfo::Duration}, {IVEXAFileInfo::FileName},
    {IVEXAFileInfo::Genre},     {IVEXAFileInfo::Title},       {IVEXAFileInfo::URL},
};

constexpr FileInfo::Name kNames[] = {
    {IVEXAFileInfo::Album, "Album"},
    {IVEXAFileInfo::AlbumArtist, "AlbumArtist"},
    {IVEXAFileInfo::Artist, "Artist"},
    {IVEXAFileInfo::Comment, "Comment"},
    {IVEXAFileInfo::Copyright, "Copyright"},
    {IVEXAFileInfo::Date, "Date"},
    {IVEXAFileInfo::Duration, "Duration"},
    {IVEXAFileInfo::FileName, "FileName"},
    {IVEXAFileInfo::Genre, "Genre"},
    {IVEXAFileInfo::Title, "Title"},
    {IVEXAFileInfo::URL, "URL"},
};

}  // namespace

FileInfo::FileInfo() : PropertyList(kRules) {}

HResult FileInfo::Reset() noexcept {
    return Guarded("resetting file information", [this] { return ClearAll(); });
}

std::span<const FileInfo::Name> FileInfo::Names() noexcept {
    return kNames;
}

}  // namespace vexa::host
