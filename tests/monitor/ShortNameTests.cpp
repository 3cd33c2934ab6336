// SPDX-License-Identifier: Apache-2.0
#include "monitor/ShortName.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "monitor/Text.h"
#include "tests/support/Property.h"

namespace monitor {
namespace {

struct Case {
  const char* command;
  const char* name;
};

void expectNames(const std::vector<Case>& cases) {
  for (const Case& each : cases) {
    EXPECT_EQ(shortNameOf(each.command), each.name) << each.command;
  }
}

TEST(ShortName, IsTheProgramAndItsFirstArgument) {
  expectNames({
      {"backup", "backup"},
      {"/opt/backup/bin/nightly", "nightly"},
      {"./refresh.sh --all mirrors", "refresh.sh mirrors"},
      {"/usr/bin/certbot -q renew --no-self-upgrade", "certbot renew"},
      {"run-parts --report /etc/cron.daily", "run-parts /etc/cron.daily"},
      {"$HOME/bin/report", "report"},
      {"make -s html", "make html"},
  });
}

TEST(ShortName, HasTheFirstOptionWhereThereIsNoOtherArgument) {
  expectNames({
      {"/usr/sbin/postqueue -f", "postqueue -f"},
      {"disk-health --quiet --all", "disk-health --quiet"},
  });
}

TEST(ShortName, PassesOverWhatPreparesTheGround) {
  expectNames({
      {"cd / && run-parts --report /etc/cron.hourly", "run-parts /etc/cron.hourly"},
      {"cd /srv/docs; make html", "make html"},
      {"test -x /usr/sbin/anacron || ( cd / && run-parts --report /etc/cron.daily )",
       "run-parts /etc/cron.daily"},
      {"[ -x /usr/sbin/disk-health ] && /usr/sbin/disk-health poll --quiet", "disk-health poll"},
      {"[ -x /a ] && [ $(date +\\%d) -le 7 ] && /usr/share/disks/checkarray --cron --all",
       "checkarray --cron"},
      {"[ -x /usr/sbin/tidy ] || exit 0; /usr/sbin/tidy now", "tidy now"},
      {"if [ -x /etc/init.d/spool ]; then /etc/init.d/spool rotate >/dev/null; fi", "spool rotate"},
      {"command -v sample > /dev/null && sample 1 1", "sample 1"},
      {"test -x /usr/bin/certbot -a \\! -d /run/x && perl -e 'sleep int(rand(3600))' && "
       "certbot -q renew",
       "certbot renew"},
      {"sleep 30; /usr/local/bin/check hosts", "check hosts"},
      {"umask 077; . /etc/backup.env && { backup now; }", "backup now"},
      {"for h in a b; do ping-host $h; done", "ping-host $h"},
      {"LANG=C TZ=UTC /usr/bin/report --weekly out.txt", "report out.txt"},
      {"SRC=/srv; export SRC; rsync-all", "rsync-all"},
  });
}

TEST(ShortName, LooksThroughProgramsThatRunAnother) {
  expectNames({
      {"nice -n 19 /opt/bin/index all", "index all"},
      {"nice -19 ionice -c3 index all", "index all"},
      {"ionice -c 2 -n 7 nice index", "index"},
      {"flock -n /run/lock/backup /opt/backup/bin/nightly --full disk", "nightly disk"},
      {"flock -w 5 /run/lock/x -c 'backup home'", "backup home"},
      {"timeout -k 5 30m fetch-mail all", "fetch-mail all"},
      {"sudo -u postgres pg_dump accounts", "pg_dump accounts"},
      {"env -i PATH=/bin report daily", "report daily"},
      {"chronic nohup /opt/sync", "sync"},
      {"/bin/sh -c 'cd /srv && ./publish site'", "publish site"},
      {"bash -lc \"backup home\"", "backup home"},
  });
}

TEST(ShortName, StaysWithTheProgramWhereNothingIsWrapped) {
  expectNames({
      {"nice", "nice"},
      {"timeout 5", "timeout 5"},
      {"cd /srv", "cd /srv"},
      {"test -x /bin/x", "test /bin/x"},
      {"X=1", "X=1"},
      {"sh /opt/run.sh", "sh /opt/run.sh"},
  });
}

TEST(ShortName, LeavesPipesAndRedirectionsOut) {
  expectNames({
      {"uptime | mail -s up root", "uptime"},
      {"report 2>&1 >/dev/null", "report"},
      {"report 2>/var/log/errors week", "report week"},
      {"report >>/var/log/report 2>&1 week", "report week"},
      {"sort < /etc/list", "sort"},
      {"backup; echo done", "backup"},
      {"backup&", "backup"},
  });
}

TEST(ShortName, ReadsQuotesAndBackslashes) {
  expectNames({
      {"remind \"Timesheets, please\"", "remind Timesheets, please"},
      {"remind 'a | b'", "remind a | b"},
      {"remind Tea\\ time", "remind Tea time"},
      {"echo \"up since $(uptime -s)\"", "echo up since $(uptime -s)"},
      {"echo $(date +\\%F)", "echo $(date +\\%F)"},
      {"echo `hostname -f` now", "echo `hostname -f`"},
      {"log '\\%d of month'", "log %d of month"},
      {"'/opt/my tools/run' now", "my tools/run"},
  });
}

TEST(ShortName, StopsAtTheInputBehindAPercentSign) {
  expectNames({{"mail root%Subject: tea%Now.", "mail root"}, {"mail%text", "mail"}});
}

TEST(ShortName, IsTheCommandWhereNothingIsLeft) {
  expectNames({{"()", "()"}, {"&&", "&&"}, {"; ;", "; ;"}, {"", ""}, {"%", "%"}, {"''", "''"}});
}

TEST(ShortName, SurvivesQuotesThatAreNotClosed) {
  expectNames({{"echo \"open", "echo open"},
               {"echo 'open", "echo open"},
               {"echo `open", "echo `open"},
               {"echo $(open", "echo $(open"},
               {"echo open\\", "echo open\\"},
               {"`", "`"}});
}

TEST(ShortName, DoesNotLookIntoASubstitutionForEver) {
  EXPECT_EQ(shortNameOf("`a b`"), "`a b`");
  EXPECT_EQ(shortNameOf("$(a b) c"), "$(a b) c");
}

TEST(ShortName, IsCutAtACharacter) {
  EXPECT_EQ(shortNameOf("/opt/" + std::string(48, 'x')), std::string(48, 'x'));
  EXPECT_EQ(shortNameOf("/opt/" + std::string(49, 'x')), std::string(47, 'x') + "…");
  std::string tickets;
  std::string shown;
  for (int i = 0; i < 60; ++i) {
    tickets += "🎫";
  }
  for (int i = 0; i < 43; ++i) {
    shown += "🎫";
  }
  EXPECT_EQ(shortNameOf("echo " + tickets), "echo " + shown.substr(0, 42 * 4) + "…");
}

PROPERTY(ShortName, IsNeverEmptyOrLongForShellLikeText, ()) {
  const auto letters = std::string("ab /-'\"`\\$()&|;<>%=[]{}!.1");
  const auto command = *rc::gen::container<std::string>(rc::gen::elementOf(letters));
  RC_PRE(!trimmed(command).empty());
  const std::string name = shortNameOf(command);
  RC_ASSERT(!name.empty());
  RC_ASSERT(name.size() <= 48U + 2U);
}

PROPERTY(ShortName, TakesAnyText, (const std::string& bytes)) {
  const std::string name = shortNameOf(printable(bytes));
  RC_ASSERT(printable(name) == name);
}

}  // namespace
}  // namespace monitor
