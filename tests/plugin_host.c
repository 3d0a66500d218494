/* Loads plug-ins, then runs each: plugin_host local|global|deepbind FILE... */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

typedef int (*run_function)(void);

static int mode_of(const char *name) {
  if (strcmp(name, "deepbind") == 0)
    return RTLD_LOCAL | RTLD_DEEPBIND;
  return strcmp(name, "global") == 0 ? RTLD_GLOBAL : RTLD_LOCAL;
}

int main(int argc, char **argv) {
  void *plugins[8] = {NULL};
  for (int i = 2; i < argc && i < 8; ++i) {
    plugins[i] = dlopen(argv[i], RTLD_NOW | mode_of(argv[1]));
    if (plugins[i] == NULL) {
      fprintf(stderr, "%s\n", dlerror());
      return 1;
    }
  }
  for (int i = 2; i < argc && i < 8; ++i) {
    run_function run = NULL;
    *(void **)&run = dlsym(plugins[i], "run");
    run();
  }
  return 0;
}
