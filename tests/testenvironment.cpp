// Linked into every test executable: the tests set their own time zone, locale
// and platform before anything in Qt reads them, so results are the same
// whether a test runs under CTest, by hand, or on a machine in another zone.
// Commands the tests start inherit the same environment.

#include <cstdlib>
#include <ctime>

namespace {

struct TestEnvironment
{
    TestEnvironment()
    {
        // Berlin has a summer time and a non-zero offset, so dates that ignore
        // the zone show up as wrong.
        setenv("TZ", "Europe/Berlin", 1);
        tzset();
        setenv("LC_ALL", "C.UTF-8", 1);
        setenv("LANG", "C.UTF-8", 1);
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
    }
};

// Constructed before the test's own statics (dates computed at start-up
// must already see the zone), whatever the link order.
__attribute__((init_priority(101))) const TestEnvironment testEnvironment;

} // namespace
