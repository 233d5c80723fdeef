#include "jet/Check.h"

#include "jet/CheckCatalogue.h"
#include "jet/CheckFindings.h"
#include "jet/HeaderPage.h"

namespace vmlib::jet {

namespace {

void CheckHeader(Pager& pager, CheckFindings& findings)
{
    const HeaderPage header(pager.Read(0).Bytes());
    if (!header.NamesFreeMaps()) findings.Fault("header: the maps of free pages are not named 1/0 and 1/1");
    if (!header.NamesSystemTables())
        findings.Fault("header: the definitions of the system tables are not named 2 to 5");
}

}  // namespace

CheckReport Check(Pager& pager)
{
    CheckReport report;
    CheckFindings findings(report);
    report.pages = pager.PageCount();
    findings.Guard("file", [&] {
        const ReadScope scope(pager);
        CheckHeader(pager, findings);
        PageLedger ledger(pager, findings);
        CatalogueCheck(pager, findings, ledger).Run();
        ledger.ClaimFreePages();  // behind the tables: what is in use and free as well is to be checked too
        ledger.CheckMapPages();
        ledger.NoteLostPages();
    });
    findings.Finish();
    return report;
}

CheckReport Check(Database& database)
{
    if (database.GetFacts().format != 3) {
        CheckReport report;
        report.faults.emplace_back("only files of format 3 can be checked");
        return report;
    }
    return Check(database.GetPager());
}

}  // namespace vmlib::jet
