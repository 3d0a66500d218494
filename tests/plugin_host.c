/* Loads plug-ins, then runs each: plugin_host local|global|deepbind FILE... With RELOADS set, the
   first one is run and unloaded before. */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>

typedef int (*run_function)(void);

static int mode_of(const char *name) {
  if (strcmp(name, "deepbind") == 0)
    return RTLD_LOCAL | RTLD_DEEPBIND;
  return strcmp(name, "global") == 0 ? RTLD_GLOBAL : RTLD_LOCAL;
}

static void run_plugin(void *plugin) {
  run_function run = NULL;
  *(void **)&run = dlsym(plugin, "run");
  run();
}

static void run_once(const char *file, int mode) {
  void *plugin = dlopen(file, mode);
  run_plugin(plugin);
  dlclose(plugin);
  if (dlopen(file, mode | RTLD_NOLOAD) != NULL)
    printf("%s is still loaded\n", file);
  /* So that it gets another address. */
  mmap(NULL, 1 << 20, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
}

int main(int argc, char **argv) {
  const int mode = RTLD_NOW | mode_of(argv[1]);
  void *plugins[8] = {NULL};
  if (getenv("RELOADS") != NULL)
    run_once(argv[2], mode);
  for (int i = 2; i < argc && i < 8; ++i) {
    plugins[i] = dlopen(argv[i], mode);
    if (plugins[i] == NULL) {
      fprintf(stderr, "%s\n", dlerror());
      return 1;
    }
  }
  for (int i = 2; i < argc && i < 8; ++i)
    run_plugin(plugins[i]);
  return 0;
}
