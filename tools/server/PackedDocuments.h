#pragma once
// The gzip forms of the served documents. Each is created once, at the first request for it, and kept in memory until
// the server ends, so that a benchmark measures the client's work and not that of zlib in the server.
//
// Any thread may call. Two threads that ask for the same new document at the same time may both compress it; one result
// is kept.

#include <map>
#include <memory>
#include <mutex>
#include <string>

class PackedDocuments {
public:
    using Body = std::shared_ptr<const std::string>;

    /// Compresses `text` and does not keep the result. Null when compression fails.
    [[nodiscard]] static Body Gzip(const std::string& text);

    /// Compresses `text` and keeps the result under `version`, which identifies the bytes: a document that has changed
    /// back to an earlier version finds that version's result again. Null when compression fails.
    [[nodiscard]] Body Pack(const std::string& version, const std::string& text);

    /// The result kept earlier under `version`, or null.
    [[nodiscard]] Body Find(const std::string& version) const;

private:
    mutable std::mutex FMutex;  // guards FBodies
    std::map<std::string, Body> FBodies;
};
