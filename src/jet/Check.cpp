#include "jet/Check.h"

#include "jet/CheckCatalogue.h"
#include "jet/CheckFindings.h"

namespace vmlib::jet {

CheckReport Check(Pager& pager)
{
    CheckReport report;
    CheckFindings findings(report);
    report.pages = pager.PageCount();
    findings.Guard("file", [&] {
        const ReadScope scope(pager);
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
