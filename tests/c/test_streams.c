/* The stream and response exports through the C interface only: a failed call reaches the
   linked functions and the last error, with the message the code's template gives. */
#include <stdio.h>
#include <string.h>

#include "telva.h"

static int failures = 0;

#define CHECK(cond)                                                                                \
  do {                                                                                             \
    if (!(cond)) {                                                                                 \
      ++failures;                                                                                  \
      fprintf(stderr, "FAILED at line %d: %s\n", __LINE__, #cond);                                 \
    }                                                                                              \
  } while (0)

struct collected {
  char text[4096];
  int calls;
};

static void collect(void* handle, const char* str) {
  struct collected* c = (struct collected*)handle;
  size_t have = strlen(c->text);
  if (have + strlen(str) < sizeof c->text) strcat(c->text, str);
  c->calls++;
}

int main(void) {
  TVAenv_t env = NULL;
  TVAtask_t task = NULL;
  struct collected err, log;
  const char* expected =
      "TELVA error 1052: An error occurred while opening file '/no/such/dir/x.log'.\n";
  TVArescode code = -1;
  TVAint32t len = 0, cls = -1;
  char msg[1100], name[1024], desc[1024];
  TVAwchart wide[8];
  size_t n = 0, conv = 0;

  memset(&err, 0, sizeof err);
  memset(&log, 0, sizeof log);
  CHECK(TVA_makeenv(&env, NULL) == TVA_RES_OK);
  CHECK(TVA_maketask(env, 0, 0, &task) == TVA_RES_OK);
  CHECK(TVA_linkfunctotaskstream(task, TVA_STREAM_ERR, &err, collect) == TVA_RES_OK);
  CHECK(TVA_linkfunctotaskstream(task, TVA_STREAM_LOG, &log, collect) == TVA_RES_OK);

  CHECK(TVA_linkfiletotaskstream(task, TVA_STREAM_MSG, "/no/such/dir/x.log", 0) ==
        TVA_RES_ERR_FILE_OPEN);
  CHECK(strcmp(err.text, expected) == 0);
  CHECK(strcmp(log.text, expected) == 0);
  CHECK(TVA_getlasterror(task, &code, sizeof msg, &len, msg) == TVA_RES_OK);
  CHECK(code == TVA_RES_ERR_FILE_OPEN);
  CHECK(strcmp(msg, "An error occurred while opening file '/no/such/dir/x.log'.") == 0);
  CHECK(len == (TVAint32t)strlen(msg) + 1);

  CHECK(TVA_echotask(task, TVA_STREAM_WRN, "%s %d\n", "plain", 3) == TVA_RES_OK);
  CHECK(strstr(log.text, "plain 3\n") != NULL);
  CHECK(TVA_echotask(task, 4, "x") == TVA_RES_ERR_INVALID_STREAM);

  CHECK(TVA_getcodedesc(TVA_RES_ERR_INVALID_STREAM, name, desc) == TVA_RES_OK);
  CHECK(strcmp(name, "TVA_RES_ERR_INVALID_STREAM") == 0);
  CHECK(TVA_getresponseclass(TVA_RES_TRM_STALL, &cls) == TVA_RES_OK && cls == TVA_RESPONSE_TRM);
  CHECK(TVA_utf8towchar(8, &n, &conv, wide, "\xc3\xa9t\xc3\xa9") == TVA_RES_OK && n == 3);
  CHECK(wide[0] == 0xe9 && wide[1] == 't' && wide[3] == 0);

  CHECK(TVA_deletetask(&task) == TVA_RES_OK);
  CHECK(TVA_deleteenv(&env) == TVA_RES_OK);
  if (failures) return 1;
  printf("streams and responses through the C interface: all checks passed\n");
  return 0;
}
