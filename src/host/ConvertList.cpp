#include "host/ConvertList.h"

#include <array>
#include <istream>
#include <set>

#include "automation/ResumeNext.h"
#include "host/ConvertBackup.h"
#include "host/Leftovers.h"

namespace vmlib::host {

namespace {

constexpr std::string_view databaseMark = "Standard Jet DB";  // from byte 4 on
constexpr std::size_t markOffset = 4;

Text ExtensionOf(TextView name)
{
    const auto point = name.rfind(u'.');
    return point == TextView::npos ? Text() : UpperCase(name.substr(point + 1));
}

/// Made by the program or the library beside a document.
bool IsByproduct(TextView name)
{
    constexpr TextView lockFile = u"LDB", testFile = u"LIKE-WOW.MAN";
    if (name.starts_with(u'~') || ExtensionOf(name) == lockFile || EqualIgnoringCase(name, testFile)) return true;
    if (ExtensionOf(name) == u"BAK") return true;
    for (const TextView mark : {journalMark, backupMark, unfinishedCopyMark})
        if (name.find(mark) != TextView::npos && name.find(u'.') < name.find(mark)) return true;
    return false;
}

bool LooksLikeDatabase(Files& files, const Text& path)
{
    std::array<std::uint8_t, markOffset + databaseMark.size()> start{};
    std::size_t count = 0;
    ResumeNext([&] { count = files.Open(path, {})->ReadAt(0, start); });
    return count == start.size() && std::equal(databaseMark.begin(), databaseMark.end(), start.begin() + markOffset);
}

class Lister
{
public:
    Lister(Session& session, const ListRequest& request)
        : session_(session), files_(session.platform.files), request_(request)
    {
        ResumeNext([&] {
            if (const auto facts = files_.Facts(request.layout)) seen_.insert(facts->identity);
        });
    }

    void AddArgument(const std::string& argument)
    {
        const Text path = session_.PathText(argument);
        const auto facts = files_.Facts(path);
        if (facts && facts->isFolder)
            AddFolder(files_.FullPath(path));
        else
            AddNamed(argument);
    }

    std::vector<std::string> Documents() && { return std::move(documents_); }

private:
    void AddNamed(const std::string& document)
    {
        std::optional<FileFacts> facts;
        ResumeNext([&] { facts = files_.Facts(session_.DatabasePath(document)); });
        if (!facts || seen_.insert(facts->identity).second) documents_.push_back(document);
    }

    void AddFolder(Text folder)
    {
        if (!folder.ends_with(u'\\')) folder += u'\\';
        const auto facts = files_.Facts(folder.substr(0, folder.size() - 1));
        // A link may lead back to a folder further up.
        if (facts && !seen_.insert(facts->identity).second) return;
        std::vector<Text> names, folders;
        for (const Text& name : files_.List(folder, u"*")) {
            std::optional<FileFacts> found;
            ResumeNext([&] { found = files_.Facts(folder + name); });
            if (!found) continue;
            (found->isFolder ? folders : names).push_back(name);
        }
        for (const Text& name : Chosen(folder, names)) AddNamed(session_.Native(folder + name));
        if (!request_.recursive) return;
        for (const Text& name : folders) AddFolder(folder + name);
    }

    std::vector<Text> Chosen(const Text& folder, const std::vector<Text>& names)
    {
        if (!request_.globs.empty()) return Matching(folder);
        std::set<Text> extensions{u"MDB"};
        for (const Text& name : names)
            if (!IsByproduct(name) && LooksLikeDatabase(files_, folder + name)) extensions.insert(ExtensionOf(name));
        std::vector<Text> chosen;
        for (const Text& name : names)
            if (!IsByproduct(name) && extensions.contains(ExtensionOf(name))) chosen.push_back(name);
        return chosen;
    }

    std::vector<Text> Matching(const Text& folder)
    {
        std::set<Text> chosen;
        for (const std::string& glob : request_.globs)
            for (const Text& name : files_.List(folder, FromUtf8(glob))) {
                const auto facts = files_.Facts(folder + name);
                if (facts && !facts->isFolder && !IsByproduct(name)) chosen.insert(name);
            }
        return {chosen.begin(), chosen.end()};
    }

    Session& session_;
    Files& files_;
    const ListRequest& request_;
    std::set<FileIdentity> seen_;
    std::vector<std::string> documents_;
};

}  // namespace

std::vector<std::string> ListDocuments(Session& session, const ListRequest& request, std::istream& input)
{
    Lister lister(session, request);
    for (const std::string& argument : request.arguments) {
        if (argument != "-") {
            lister.AddArgument(argument);
            continue;
        }
        for (std::string line; std::getline(input, line);) {
            if (!line.empty() && line.back() == '\r') line.pop_back();
            if (!line.empty()) lister.AddArgument(line);
        }
    }
    return std::move(lister).Documents();
}

}  // namespace vmlib::host
