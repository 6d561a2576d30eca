/* A host in C99 that loads the library at run time and knows its functions by their plain names. */

#include <NorixEngine/NorixEngine.h>
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

static const char* const kNames[] = {
    "NorixGetInfo",         "filter_check_format", "filter_video_frame",  "GetParamBuffer",          "ReleaseParamBuffer",
    "ReferenceParamBuffer", "CloneParamBuffer",    "GetFilterGroupParam", "ReleaseFilterGroupParam",
};

/* C has no cast from an object pointer to a function pointer; their bytes are the same wherever dlsym exists. */
#define LOOK_UP(library, function, name)            \
  do {                                              \
    void* symbol = dlsym(library, name);            \
    memcpy(&(function), &symbol, sizeof(function)); \
  } while (0)

int main(int argc, char** argv) {
  int failures = 0;
  unsigned i;
  int count = 0;
  const char** (*getInfo)(void);
  int (*checkFormat)(const char*, int);
  void (*getParams)(const char*, int, FilterParams**, int*);
  void (*releaseParams)(FilterParams*);
  FilterParams* params = NULL;
  int size = 0;
  void* library;
  if (argc != 2) {
    fprintf(stderr, "usage: %s LIBRARY\n", argv[0]);
    return 2;
  }
  library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (!library) {
    fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  for (i = 0; i < sizeof kNames / sizeof kNames[0]; ++i) {
    if (!dlsym(library, kNames[i])) {
      fprintf(stderr, "not found: %s\n", kNames[i]);
      ++failures;
    }
  }
  if (failures) return 1;

  LOOK_UP(library, getInfo, "NorixGetInfo");
  LOOK_UP(library, checkFormat, "filter_check_format");
  LOOK_UP(library, getParams, "GetParamBuffer");
  LOOK_UP(library, releaseParams, "ReleaseParamBuffer");
  while (getInfo()[count]) {
    if (checkFormat(getInfo()[count], -1) < 0) {
      fprintf(stderr, "listed and not negotiated: %s\n", getInfo()[count]);
      ++failures;
    }
    ++count;
  }
  if (count != 16) {
    fprintf(stderr, "%d effects\n", count);
    ++failures;
  }
  getParams("Vignette", 5000, &params, &size);
  if (!params || size != 56) {
    fprintf(stderr, "no parameters for Vignette\n");
    ++failures;
  }
  releaseParams(params);
  if (dlclose(library) != 0) {
    fprintf(stderr, "%s\n", dlerror());
    ++failures;
  }
  return failures ? 1 : 0;
}
