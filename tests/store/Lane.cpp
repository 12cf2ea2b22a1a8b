#include "Lane.h"

#include <algorithm>
#include <sstream>

namespace storage::kvxstore {

namespace {

using Kind = Lane::Step::Kind;

std::u16string wide(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }

std::string randomBytes(std::mt19937& random) {
    const unsigned scale = random() % 100;
    std::string bytes(random() % (scale < 80 ? 2'000 : scale < 97 ? 40'000 : 600'000), '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    return bytes;
}

template <class Files>
std::string describe(const Files& files) {
    std::ostringstream text;
    for (const auto& [path, versions] : files) {
        text << Resource(u"", path).getUTF8Bucket();
        for (const auto& [label, content] : versions) {
            text << ' ' << label << ':' << content.size() << '#'
                 << std::hash<std::string>()(content) % 10'000;
        }
        text << '\n';
    }
    return text.str();
}

}  // namespace

Lane::Lane(unsigned number)
    : root_(u"/lane" + wide(std::to_string(number))),
      folders_{root_ + u"/a", root_ + u"/b"},
      files_{{folders_[0], {}}, {folders_[1], {}}},
      random_(number) {}

void Lane::makeFolders(const Account& account) const {
    account.makeFolder(root_);
    for (const std::u16string& folder : folders_) {
        account.makeFolder(folder);
    }
}

std::u16string Lane::randomPath() {
    return folders_[random_() % 2] + u"/f" + char16_t(u'0' + random_() % 4);
}

Lane::Step Lane::next() {
    constexpr Kind kinds[] = {Kind::PUT,    Kind::PUT,  Kind::PUT,  Kind::EDIT,         Kind::EDIT,
                              Kind::REMOVE, Kind::MOVE, Kind::COPY, Kind::RENAME_FOLDER};
    Step step{kinds[random_() % std::size(kinds)], randomPath(), randomPath(), {}, 0, false};
    const bool needsFile =
        step.kind == Kind::REMOVE || step.kind == Kind::MOVE || step.kind == Kind::COPY;
    if (needsFile && (!files_.contains(step.path) || step.path == step.target)) {
        step.kind = Kind::PUT;
    }
    if (step.kind == Kind::EDIT && random_() % 4 == 0) {
        step.kind = Kind::ABORT;
    }
    if (step.kind == Kind::RENAME_FOLDER) {
        step.path = folders_[0];
        step.target = root_ + u"/r" + wide(std::to_string(++renames_));
    } else if (!needsFile || step.kind == Kind::PUT) {
        step.bytes = randomBytes(random_);
        step.offset = random_() % 30'000;
        step.keepOld = random_() % 3 == 0;
    }
    take(step);
    return step;
}

void Lane::revise(const Step& step, std::string content) {
    Versions& versions = files_[step.path];
    const int label = versions.empty() ? 0 : versions.rbegin()->first;
    if (!step.keepOld) {
        versions.erase(label);
    }
    versions[label + 1] = std::move(content);
}

void Lane::renameFolder(const Step& step) {
    std::map<std::u16string, Versions> renamed;
    for (auto& [path, versions] : files_) {
        const bool inside = path == step.path || path.starts_with(step.path + u'/');
        renamed[inside ? step.target + path.substr(step.path.size()) : path] = std::move(versions);
    }
    files_ = std::move(renamed);
    folders_[0] = step.target;
}

void Lane::take(const Step& step) {
    switch (step.kind) {
        case Kind::PUT:
            return revise(step, step.bytes);
        case Kind::EDIT: {
            const auto old = files_.find(step.path);
            std::string content = old == files_.end() ? "" : old->second.rbegin()->second;
            if (!step.bytes.empty()) {
                content.resize(std::max(content.size(), step.offset + step.bytes.size()));
                content.replace(step.offset, step.bytes.size(), step.bytes);
            } else if (old != files_.end()) {
                return;
            }
            return revise(step, std::move(content));
        }
        case Kind::ABORT:
            return;
        case Kind::REMOVE:
            files_.erase(step.path);
            return;
        case Kind::MOVE:
            files_[step.target] = std::move(files_[step.path]);
            files_.erase(step.path);
            return;
        case Kind::COPY:
            files_[step.target] = {{1, files_[step.path].rbegin()->second}};
            return;
        case Kind::RENAME_FOLDER:
            return renameFolder(step);
    }
}

void Lane::perform(const Account& account, const Step& step) {
    switch (step.kind) {
        case Kind::PUT:
            account.put(step.path, step.bytes, step.keepOld);
            return;
        case Kind::EDIT:
        case Kind::ABORT: {
            const OpenFile file(account, step.path);
            const std::size_t half = step.bytes.size() / 2;
            file.write(step.offset + half, step.bytes.substr(half));
            file.write(step.offset, step.bytes.substr(0, half));
            file.close(step.kind == Kind::EDIT ? FileHandleCloseOperation::COMMIT_CHANGES
                                               : FileHandleCloseOperation::ABORT_CHANGES,
                       step.keepOld);
            return;
        }
        case Kind::REMOVE:
            account.remove(step.path);
            return;
        case Kind::MOVE:
        case Kind::RENAME_FOLDER:
            return account.move(step.path, step.target, step.kind == Kind::MOVE);
        case Kind::COPY:
            return account.copy(step.path, step.target, true);
    }
}

std::map<std::u16string, Lane::Versions> Lane::observe(const Account& account) const {
    std::map<std::u16string, Versions> found;
    const auto tree =
        account.files->listMultiFolder(MultiFolderListRequest({root_, u""})).getFolders();
    for (const ResourceAndFolderList& folder : tree) {
        const std::u16string path = folder.getParentResource().getPath();
        if (path != root_) {
            found[path] = {};
        }
        for (const FileSummary& file : folder.getFiles()) {
            const Resource resource(path + u'/' + file.getName(), u"");
            Versions& versions = found[resource.getPath()];
            for (const VersionSummary& version :
                 account.versioning->listVersions(VersionListRequest(resource)).getVersions()) {
                const int label = version.getVersionLabel();
                const auto body =
                    account.files->readFile(FileReadRequest(resource).withVersionLabel(label))
                        .getResponseBody();
                versions[label] = {body.begin(), body.end()};
            }
        }
    }
    return found;
}

std::string Lane::settle(const Account& account, unsigned acknowledged) {
    for (; acknowledged > 0; --acknowledged) {
        next();
    }
    const auto found = observe(account);
    if (found == files_) {
        return {};
    }
    const std::string expected = describe(files_);
    next();
    return found == files_ ? std::string()
                           : "found:\n" + describe(found) + "expected:\n" + expected + "or:\n" +
                                 describe(files_);
}

}  // namespace storage::kvxstore
