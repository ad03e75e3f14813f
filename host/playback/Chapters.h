#pragma once
// The chapters of a local audio file. Any thread.

#include <QString>

#include <vector>

namespace vexa::host {

struct Chapter {
    double Start = 0;  // seconds
    QString Title;
};

/// Reads the chapters from ID3v2 tags, ordered by their starts. Empty when the file has none, is missing or is not a
/// regular file.
std::vector<Chapter> ReadChapters(const QString& fileName);

}  // namespace vexa::host
