#pragma once
// The gzip forms of the documents served, each made once, at the first request for it, and kept in memory until the
// server ends: what a benchmark measures is then the client's work and not zlib's in the server.
//
// Any thread may call. Two that ask for the same new document at the same moment may both pack it; one result stays.

#include <map>
#include <memory>
#include <mutex>
#include <string>

class PackedDocuments {
public:
    using Body = std::shared_ptr<const std::string>;

    /// The packed form of `text`, made anew. Null when packing fails.
    [[nodiscard]] static Body Gzip(const std::string& text);

    /// The same, kept. `version` names the bytes: a document that changed and changed back finds its first
    /// form again. Null when packing fails.
    [[nodiscard]] Body Pack(const std::string& version, const std::string& text);

    /// The form packed earlier under this name, or null.
    [[nodiscard]] Body Find(const std::string& version) const;

private:
    mutable std::mutex FMutex;  // guards FBodies
    std::map<std::string, Body> FBodies;
};
