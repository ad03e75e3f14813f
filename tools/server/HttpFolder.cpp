#include "HttpFolder.h"

#include "MediaTypes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace {

class Descriptor {
public:
    explicit Descriptor(const std::filesystem::path& file) : FDescriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~Descriptor() {
        if (FDescriptor >= 0) close(FDescriptor);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] int Get() const noexcept { return FDescriptor; }

private:
    const int FDescriptor;
};

std::string HttpDate(std::time_t time) {
    std::tm utc{};
    gmtime_r(&time, &utc);
    char text[40];
    std::strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S GMT", &utc);
    return text;
}

/// The last part of a file's ETag: its size, and its modification time in nanoseconds, since the files of a benchmark
/// are replaced several times a second.
std::string Tag(const struct stat& status) {
    char text[64];
    std::snprintf(text, sizeof text, "%llx-%llx.%lx", static_cast<unsigned long long>(status.st_size),
                  static_cast<unsigned long long>(status.st_mtim.tv_sec),
                  static_cast<unsigned long>(status.st_mtim.tv_nsec));
    return text;
}

bool AcceptsGzip(const httplib::Request& request) {
    const std::string accepted = request.get_header_value("Accept-Encoding");
    const std::size_t at = accepted.find("gzip");
    if (at == std::string::npos) return false;
    return !std::string_view(accepted).substr(at).starts_with("gzip;q=0,") && !accepted.ends_with("gzip;q=0");
}

/// Turns a request whose ranges cannot be used into one for the whole file. The library passes requests as const, but
/// reads the ranges again when it writes the body.
void ForgetRanges(const httplib::Request& request) {
    const_cast<httplib::Request&>(request).ranges.clear();
}

}  // namespace

struct HttpFolder::File {
    std::filesystem::path Path;
    std::shared_ptr<Descriptor> Opened;
    std::size_t Size;
    std::string Tag;
    std::string LastModified;
    MediaType Type;

    /// Nothing for paths that name no file or lead out of the folder.
    static std::optional<File> Open(const std::filesystem::path& folder, const std::string& urlPath) {
        const auto relative = std::filesystem::path(urlPath).relative_path();
        if (std::ranges::find(relative, std::filesystem::path("..")) != relative.end()) return {};
        auto path = folder / relative;
        auto opened = std::make_shared<Descriptor>(path);
        struct stat status {};
        if (opened->Get() < 0 || fstat(opened->Get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
        auto type = MediaTypeOf(path);
        return File{std::move(path),
                    std::move(opened),
                    static_cast<std::size_t>(status.st_size),
                    ::Tag(status),
                    HttpDate(status.st_mtim.tv_sec),
                    std::move(type)};
    }

    /// If the request has If-None-Match, only that counts, because the date has only whole seconds.
    [[nodiscard]] bool IsKnownTo(const httplib::Request& request) const {
        if (request.has_header("If-None-Match")) {
            const std::string known = request.get_header_value("If-None-Match");
            return known == "*" || known.find(Tag) != std::string::npos;
        }
        return request.get_header_value("If-Modified-Since") == LastModified;
    }

    [[nodiscard]] bool MayResume(const httplib::Request& request) const {
        if (!request.has_header("If-Range")) return true;
        const std::string known = request.get_header_value("If-Range");
        return known == '"' + Tag + '"' || known == LastModified;
    }

    [[nodiscard]] std::string Read() const {
        std::string text(Size, '\0');
        std::size_t done = 0;
        while (done < Size) {
            const ssize_t n = pread(Opened->Get(), text.data() + done, Size - done, static_cast<off_t>(done));
            if (n <= 0) break;
            done += static_cast<std::size_t>(n);
        }
        text.resize(done);
        return text;
    }
};

HttpFolder::HttpFolder(std::filesystem::path folder, SiteHabits habits) : FFolder(std::move(folder)), FHabits(habits) {}

void HttpFolder::Answer(const httplib::Request& request, httplib::Response& response) {
    const auto file = File::Open(FFolder, request.path);
    if (!file) {
        ForgetRanges(request);
        response.status = 404;
        return response.set_content("There is no such file here.\n", "text/plain");
    }
    const bool packable = file->Type.IsText && FHabits.Compresses;
    const bool packed = packable && request.ranges.empty() && AcceptsGzip(request);
    if (packable) response.set_header("Vary", "Accept-Encoding");
    if (FHabits.SendsValidators) {
        response.set_header("ETag", '"' + file->Tag + (packed ? "-gzip\"" : "\""));
        response.set_header("Last-Modified", file->LastModified);
        if (file->IsKnownTo(request)) {
            ForgetRanges(request);
            response.status = 304;
            return;
        }
    }
    if (!file->MayResume(request)) ForgetRanges(request);
    const auto isBeyond = [&](const httplib::Range& range) {
        return range.first >= 0 && static_cast<std::size_t>(range.first) >= file->Size;
    };
    if (std::ranges::any_of(request.ranges, isBeyond)) {
        ForgetRanges(request);
        response.status = 416;
        response.set_header("Content-Range", "bytes */" + std::to_string(file->Size));
        return;
    }
    if (file->Type.IsText) return AnswerText(*file, packed, response);
    AnswerFromDisk(*file, response);
}

void HttpFolder::AnswerText(const File& file, bool packed, httplib::Response& response) {
    PackedDocuments::Body body;
    if (packed) {
        const std::string version = file.Path.string() + ' ' + file.Tag;
        if (FHabits.PacksEachTime)
            body = PackedDocuments::Gzip(file.Read());
        else
            body = FPacked.Find(version);
        if (!body) body = FPacked.Pack(version, file.Read());
    }
    if (body)
        response.set_header("Content-Encoding", "gzip");
    else
        body = std::make_shared<const std::string>(file.Read());
    if (body->empty()) return response.set_content("", file.Type.Name);
    // Use a content provider, because the library itself would compress a plain body of a text type at every request.
    response.set_content_provider(body->size(), file.Type.Name,
                                  [body](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
                                      return sink.write(body->data() + offset, length);
                                  });
}

void HttpFolder::AnswerFromDisk(const File& file, httplib::Response& response) {
    response.set_header("Accept-Ranges", "bytes");
    if (file.Size == 0) return response.set_content("", file.Type.Name);
    response.set_content_provider(
        file.Size, file.Type.Name,
        [opened = file.Opened](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
            std::array<char, 128 * 1024> piece;
            const ssize_t n =
                pread(opened->Get(), piece.data(), std::min(length, piece.size()), static_cast<off_t>(offset));
            return n > 0 && sink.write(piece.data(), static_cast<std::size_t>(n));
        });
}
