#pragma once
// A folder as a web site: each file at its relative path, with the validators that let a client ask whether it changed
// (ETag, Last-Modified), byte ranges that let it resume (with If-Range), and gzip for text where the client takes it.
//
// The folder may change while it is served; every request looks at the file anew. Any thread may call Answer.

#include "PackedDocuments.h"

#include <httplib.h>

#include <filesystem>

/// What a site does without, for measuring how a client fares there.
struct SiteHabits {
    bool Compresses = true;
    /// Without them every conditional request gets the whole document.
    bool SendsValidators = true;
    /// Pack a document at every request, as servers without a cache do.
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
