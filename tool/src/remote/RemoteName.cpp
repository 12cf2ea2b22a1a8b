#include "remote/RemoteName.h"

#include "ui/Failure.h"
#include "ui/Text.h"

namespace storage::kvxtool {

bool RemoteName::isRemote(const std::string& argument) {
    return argument.find(':') < argument.find('/');
}

std::string RemoteName::wildcardHint(const std::string& argument) {
    const bool hasWildcard = argument.find_first_of("*?") != std::string::npos;
    return hasWildcard ? " (kvx does not expand wildcards: see kvx find)" : "";
}

RemoteName RemoteName::parse(const std::string& argument, Form form) {
    const std::size_t colon = isRemote(argument) ? argument.find(':') : std::string::npos;
    const bool bare = colon == std::string::npos;
    std::string pathText = bare ? argument : argument.substr(colon + 1);
    if (!bare && pathText.empty()) {
        pathText.push_back('/');
    }
    if (!pathText.starts_with('/') || (bare && form == Form::WITH_COLON)) {
        throw Failure(ExitCode::USAGE, argument,
                      "not a remote name: write :/path, or bucket:/path for another bucket");
    }
    const std::optional<std::u16string> bucket = toUtf16(argument.substr(0, bare ? 0 : colon));
    const std::optional<std::u16string> path = toUtf16(pathText);
    if (!bucket || !path) {
        throw Failure(ExitCode::REFUSED, argument, "the name is not valid UTF-8");
    }
    return {*bucket, *path};
}

RemoteName::RemoteName(std::u16string bucket, std::u16string path)
    : bucket_(std::move(bucket)), path_(std::move(path)) {
    while (path_.size() > 1 && path_.back() == u'/') {
        path_.pop_back();
        trailingSlash_ = true;
    }
}

RemoteName RemoteName::child(const std::u16string& name) const {
    return {bucket_, (isRoot() ? u"" : path_) + u"/" + name};
}

RemoteName RemoteName::parent() const { return {bucket_, path_.substr(0, path_.rfind(u'/') + 1)}; }

std::u16string RemoteName::name() const { return path_.substr(path_.rfind(u'/') + 1); }

bool RemoteName::isBelow(const RemoteName& folder) const {
    const std::u16string prefix = folder.isRoot() ? u"/" : folder.path_ + u"/";
    return bucket_ == folder.bucket_ && path_.size() > prefix.size() && path_.starts_with(prefix);
}

std::string RemoteName::text() const { return toUtf8(bucket_) + ":" + toUtf8(path_); }

}  // namespace storage::kvxtool
