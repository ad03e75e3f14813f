#pragma once
// The chapters of a local audio file. Any thread.

#include <QString>

#include <vector>

namespace vexa::host {

struct Chapter {
    double Start = 0;  // seconds
    QString Title;
};

/// In the order of their starts; none when the file has none, is missing or no regular file. Read from ID3v2 tags.
std::vector<Chapter> ReadChapters(const QString& fileName);

}  // namespace vexa::host
