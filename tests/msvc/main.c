/* A host by the conventions of MSVC, without a C library: the whole C interface through
 * the import library, with every listener operation that a desktop under Wine can bring
 * about. Says which case runs, and what does not hold. */
#include <qx-screen-capture-c.h>

#include "cases.h"
#include "testing.h"

static atomic_int g_messages;

static void QX_CALL countMessage(int32_t level, const char* file, int32_t line,
                                 const char* message) {
  CHECK(level >= 2 && level <= 5 && line > 0);
  CHECK(file != NULL && file[0] != '\0' && message != NULL && message[0] != '\0');
  atomic_fetch_add(&g_messages, 1);
}

static void run(const char* name, void (*body)(void)) {
  Say(name);
  Say("\n");
  body();
}

void Main(void) {
  CHECK(qx_abi_version() == QX_ABI_VERSION);
  CHECK(Equal(qx_version(), QX_VERSION));
  CHECK(qx_register_log_callback(countMessage) == QX_OK);
  run("lists monitors and windows", ListsMonitorsAndWindows);
  run("takes settings", TakesSettings);
  run("shares a monitor", SharesAMonitor);
  run("shares a window", SharesAWindow);
  run("shares to a queue", SharesToAQueue);
  CHECK(qx_unregister_log_callback() == QX_OK);
  CHECK(atomic_load(&g_messages) > 0);
  run("outlives exceptions", OutlivesExceptions);
  Say(Failures() == 0 ? "all holds\n" : "FAILED\n");
  ExitProcess(Failures() == 0 ? 0 : 1);
}
