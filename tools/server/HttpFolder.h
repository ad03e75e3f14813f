#pragma once
// Serves a folder as a web site: each file at its relative path, with validators (ETag, Last-Modified), so that a
// client can ask whether the file has changed; byte ranges (with If-Range), so that a client can resume; and gzip for
// text, if the client accepts it.
//
// The folder may change while it is served, because every request reads the file again. Any thread may call Answer.

#include "PackedDocuments.h"

#include <httplib.h>

#include <filesystem>

/// Features that a site may lack, to measure how a client performs without them.
struct SiteHabits {
    bool Compresses = true;
    /// If false, every conditional request gets the whole document.
    bool SendsValidators = true;
    /// Compresses a document at every request, as servers without a cache do.
    bool PacksEachTime = false;
};

class HttpFolder {
public:
    HttpFolder(std::filesystem::path folder, SiteHabits habits);

    /// Answers a GET or HEAD request: 200, 206, 304, 404 or 416.
    void Answer(const httplib::Request& request, httplib::Response& response);

private:
    struct File;

    void AnswerText(const File& file, bool packed, httplib::Response& response);
    static void AnswerFromDisk(const File& file, httplib::Response& response);

    const std::filesystem::path FFolder;
    const SiteHabits FHabits;
    PackedDocuments FPacked;
};
