#include "host/Leftovers.h"

#include "automation/ResumeNext.h"
#include "host/Info.h"

namespace vmlib::host {

namespace {

constexpr TextView conversionCopy = u"ConKopie.tmp";

Text FolderOf(TextView path)
{
    return Text(path.substr(0, path.rfind(u'\\') + 1));
}
Text NameOf(TextView path)
{
    return Text(path.substr(path.rfind(u'\\') + 1));
}

/// Names beside the document that begin with its name and a mark.
void FindBeside(Session& session, TextView document, std::vector<Leftover>& found)
{
    const Text folder = FolderOf(document);
    const Text name = NameOf(document);
    const struct
    {
        TextView mark;
        const char* kind;
    } kinds[] = {{journalMark, "journal"}, {unfinishedCopyMark, "temporary"}, {backupMark, "backup"}};
    for (const Text& candidate : session.platform.files.List(folder, u"*")) {
        if (!StartsWithIgnoringCase(candidate, name)) continue;
        const TextView rest = TextView(candidate).substr(name.size());
        for (const auto& [mark, kind] : kinds)
            if (rest.starts_with(mark)) found.push_back({folder + candidate, kind});
    }
}

/// The document that a working copy says it belongs to; no value for a file that is no document or may not be read.
std::optional<Text> DocumentOfCopy(Session& session, TextView path)
{
    std::optional<Text> name;
    ResumeNext([&] {
        const auto facts = session.platform.files.Facts(path);
        if (facts && !facts->isFolder && facts->size > 0) name = ReadInfo(session, path).name;
        if (name) name = session.platform.files.FullPath(Trim(*name));
    });
    return name;
}

void FindCopies(Session& session, TextView document, std::vector<Leftover>& found)
{
    const auto folder = session.platform.system.TemporaryFolder();
    if (!folder) return;
    for (const Text& name : session.platform.files.List(*folder, u"*")) {
        const bool isConversion = EqualIgnoringCase(name, conversionCopy);
        if (!isConversion && !name.starts_with(u'~')) continue;
        const Text path = *folder + name;
        if (EqualIgnoringCase(path, document)) continue;
        const auto owner = DocumentOfCopy(session, path);
        if (owner && EqualIgnoringCase(*owner, document))
            found.push_back({path, isConversion ? "conversion copy" : "working copy"});
    }
}

}  // namespace

std::vector<Leftover> FindLeftovers(Session& session, TextView document)
{
    const Text path = session.platform.files.FullPath(document);
    std::vector<Leftover> found;
    ResumeNext([&] { FindBeside(session, path, found); });
    ResumeNext([&] { FindCopies(session, path, found); });
    return found;
}

}  // namespace vmlib::host
