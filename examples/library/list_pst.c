// Lists what a PST holds, in C: list_pst FILE.pst
#include <stdint.h>
#include <stdio.h>

#include "parvane/c_api.h"

static int show(void* context, const parvane_message* message) {
  (void)context;
  printf("  %s: %s\n", message->from, message->subject);
  return 0;
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  parvane_pst* pst = parvane_pst_open(argv[1]);
  if (!pst) return 3;
  const char* error = parvane_pst_error(pst);
  for (size_t i = 0; !error && i < parvane_pst_folder_count(pst); ++i) {
    parvane_folder folder;
    if (parvane_pst_folder(pst, i, &folder) == 0) {
      printf("%s: %llu messages\n", folder.name, (unsigned long long)folder.messages);
      parvane_pst_messages(pst, folder.id, 0, SIZE_MAX, show, NULL);
    }
    error = parvane_pst_error(pst);
  }
  if (error) fprintf(stderr, "%s\n", error);
  parvane_pst_close(pst);
  return error ? 3 : 0;
}
