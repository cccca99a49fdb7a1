// Which names are learnt from which text: what a text that holds them all has become.
#include "commands/report_secrets.h"

#include "tests/support/ledger_on_host.h"

using namespace dravik;

namespace {

constexpr char WWID[] = "3600b5d60001a2b3c0000000000000001";

// `text` as a redactor gives it that has learnt from `from`.
std::string after(void (*learn)(Redactor *, const std::string &), const std::string &from,
                  const std::string &text) {
    Redactor redactor;
    learn(&redactor, from);
    return redactor.text(text);
}

class ReportSecrets : public LedgerOnHost {};

} // namespace

TEST_F(ReportSecrets, AHostsShortNameIsTheHostAndWhatIsBehindItsDotTheDomain) {
    EXPECT_EQ(after(learnHost, "db1.site.example", "db1 DB1.site.example x.site.example"),
              "host-1 host-1 x.domain-1");
    EXPECT_EQ(after(learnHost, "db1", "db1 db1.site.example"), "host-1 host-1.site.example");
    EXPECT_EQ(after(learnHost, "", "db1"), "db1");
}

TEST_F(ReportSecrets, ALogNamesAliasesWwidsVirtualDisksAndUsers) {
    const std::string log = "[t] path_alias: first, wwid: odd_wwid, state\n"
                            "[t] path alias is changed from [second] to [third]\n"
                            "[t] lun wwid is changed from [old_wwid] to [new_wwid]\n"
                            "[t] vdisk name change from (disk one) to (disk two)\n"
                            "[t] INFO dravik -alias fourth -wwid fifth_wwid\n"
                            "[t] INFO dravik setalias [-path_alias sixth]\n"
                            "[t] audit user alice ran (login bob)\n"
                            "dravik-monitor: user carol did\n";
    EXPECT_EQ(after(learnLog, log,
                    "first second third fourth sixth / odd_wwid old_wwid new_wwid fifth_wwid / disk one, disk "
                    "two / alice bob carol / state"),
              "alias-3 alias-1 alias-2 alias-4 alias-5 / wwid-1 wwid-2 wwid-3 wwid-4 / vdisk-1, vdisk-2 / user-1 "
              "user-2 user-3 / state");
}
