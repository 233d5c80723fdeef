#include "host/Leftovers.h"

#include <algorithm>

#include "automation/ResumeNext.h"
#include "host/ConvertBackup.h"
#include "host/ConvertFolder.h"
#include "host/Info.h"

namespace vmlib::host {

namespace {

Text FolderOf(TextView path)
{
    return Text(path.substr(0, path.rfind(u'\\') + 1));
}
Text NameOf(TextView path)
{
    return Text(path.substr(path.rfind(u'\\') + 1));
}

constexpr struct
{
    TextView mark;
    const char* kind;
} marksBeside[] = {{journalMark, "journal"}, {unfinishedCopyMark, "temporary"}, {backupMark, "backup"}};

/// The names of a folder, as they were before anything in it was opened.
struct Listing
{
    Text folder;
    std::vector<Text> names;
};

Listing List(Session& session, const Text& folder)
{
    Listing listing{folder, {}};
    ResumeNext([&] { listing.names = session.platform.files.List(folder, u"*"); });
    return listing;
}

/// Files whose names are that of a file and a mark.
void FindBeside(const Listing& listing, TextView name, std::vector<Leftover>& found)
{
    for (const Text& candidate : listing.names) {
        if (!StartsWithIgnoringCase(candidate, name)) continue;
        const TextView rest = TextView(candidate).substr(name.size());
        for (const auto& [mark, kind] : marksBeside)
            if (rest.starts_with(mark)) found.push_back({listing.folder + candidate, kind});
        if (IsBackupMark(rest)) found.push_back({listing.folder + candidate, "backup"});
    }
}

/// The list of a shared file's users goes with the last of them, unless that one was killed.
void FindUserList(Session& session, const Listing& listing, TextView path, std::vector<Leftover>& found)
{
    const Text list = NameOf(path.substr(0, std::min(path.rfind(u'.'), path.size()))) + u".ldb";
    for (const Text& name : listing.names)
        if (EqualIgnoringCase(name, list) && !session.platform.files.FirstUser(path))
            found.push_back({listing.folder + name, "list of users"});
}

/// Where the engine keeps what does not stay in memory: entries of a large index while it sorts them (vmi, four
/// hexadecimal digits, .tmp), values of a large result (vmr), pages of a large change (jet).
bool IsEngineFile(TextView name)
{
    constexpr TextView starts[] = {u"vmi", u"vmr", u"jet"};
    return name.size() == 11 && EqualIgnoringCase(name.substr(7), u".tmp") &&
           std::any_of(std::begin(starts), std::end(starts),
                       [&](TextView start) { return StartsWithIgnoringCase(name, start); });
}

bool IsTemporary(TextView name)
{
    const bool isBeside = std::any_of(std::begin(marksBeside), std::end(marksBeside),
                                      [&](const auto& entry) { return name.find(entry.mark) != TextView::npos; });
    return !isBeside && (name.starts_with(u'~') || EqualIgnoringCase(name, conversionCopy) || IsEngineFile(name));
}

/// What a file of the temporary folder says of itself.
struct Copy
{
    bool isFree = false;  // a file that nobody holds, and no database with another password
    Text document;        // what its record names; "" when it has none
};

Copy ReadCopy(Session& session, const Text& path)
{
    Copy copy;
    try {
        const auto facts = session.platform.files.Facts(path);
        if (!facts || facts->isFolder) return copy;
        session.platform.files.Open(path, {});
        copy.isFree = true;
        if (facts->size > 0) copy.document = Trim(ReadInfo(session, path).name.value_or(Text()));
    } catch (const Error& error) {
        if (error.Is(ErrorNumber::FileInUse) || error.Is(ErrorNumber::InvalidPassword)) copy.isFree = false;
    }
    return copy;
}

/// Two names of one file: by text, or by what stands there, as a link has another name.
bool IsSameFile(Session& session, TextView left, TextView right)
{
    bool isSame = false;
    ResumeNext([&] {
        Files& files = session.platform.files;
        isSame = EqualIgnoringCase(files.FullPath(left), files.FullPath(right));
        const auto leftFacts = files.Facts(left), rightFacts = files.Facts(right);
        isSame = isSame || (leftFacts && rightFacts && leftFacts->identity == rightFacts->identity);
    });
    return isSame;
}

/// What a batch that was killed left in a folder of its own: copies that name the document, and what names none.
void FindAbandoned(Session& session, TextView document, const Text& temporaryFolder, std::vector<Leftover>& found)
{
    for (const Text& folder : AbandonedFolders(session.platform.files, temporaryFolder)) {
        const Listing listing = List(session, folder);
        for (const Text& name : listing.names) {
            const Copy copy = ReadCopy(session, folder + name);
            if (!copy.document.empty() && !IsSameFile(session, copy.document, document)) continue;
            const char* const kind = copy.document.empty()    ? "temporary"
                                     : IsConversionCopy(name) ? "conversion copy"
                                                              : "working copy";
            found.push_back({folder + name, kind});
        }
    }
}

void FindCopies(Session& session, TextView document, std::vector<Leftover>& found)
{
    const auto folder = session.platform.system.TemporaryFolder();
    if (!folder) return;
    const Listing listing = List(session, *folder);
    const Text stored = FromAnsi(ToAnsi(document));  // what a record can hold of a name
    for (const Text& name : listing.names) {
        const Text path = *folder + name;
        if (!IsTemporary(name) || IsSameFile(session, path, document)) continue;
        const Copy copy = ReadCopy(session, path);
        const bool isConversion = IsConversionCopy(name);
        if (!copy.isFree) continue;
        if (copy.document.empty())
            found.push_back({path, isConversion ? "conversion copy" : "temporary", true});
        else if (IsSameFile(session, copy.document, document) || EqualIgnoringCase(copy.document, stored))
            found.push_back({path, isConversion ? "conversion copy" : "working copy"});
        else
            continue;
        FindBeside(listing, name, found);
        for (Leftover& beside : found)
            if (copy.document.empty() && beside.path.starts_with(path)) beside.isHalfMade = true;
    }
    FindAbandoned(session, document, *folder, found);
}

}  // namespace

bool IsConversionCopy(TextView name)
{
    return EqualIgnoringCase(name, conversionCopy) || StartsWithIgnoringCase(name, asideCopyStart);
}

std::vector<Leftover> FindLeftovers(Session& session, TextView document)
{
    const Text path = session.platform.files.FullPath(document);
    std::vector<Leftover> found;
    const Listing beside = List(session, FolderOf(path));
    FindBeside(beside, NameOf(path), found);
    FindUserList(session, beside, path, found);
    FindCopies(session, path, found);
    return found;
}

void KeepOfType(std::vector<Leftover>& leftovers, TextView fileType)
{
    const Text prefix = u"~" + Text(fileType.substr(0, 2));
    std::erase_if(leftovers, [&](const Leftover& leftover) {
        const Text name = NameOf(leftover.path);
        const bool isOfType = fileType.size() >= 2 && StartsWithIgnoringCase(name, prefix);
        const bool isAnyType = IsEngineFile(name) || StartsWithIgnoringCase(name, conversionCopy);
        return leftover.isHalfMade && !isOfType && !isAnyType;
    });
}

}  // namespace vmlib::host
