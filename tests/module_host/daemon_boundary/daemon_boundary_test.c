/* The module library driven as the daemon drives it: from C, through tables of function pointers
 * in the layout of Microsoft's compiler, numbered slot by slot, with `this` as the first argument.
 *
 * The daemon that loads the library on Windows is built with Microsoft's compiler, whose vtables
 * give a virtual destructor one slot (the scalar deleting destructor). Tests written in C++ and
 * built by the library's own compiler agree with the library by construction; this one does not
 * share a single declaration with it. It also hands the library a manager and a caller of its own
 * in that layout, and checks that the library calls them at the right slots. Starting the module
 * needs an audio system: the program is linked with the simulated one, whose class table it hands
 * to the library as a Linux host does.
 *
 * On Windows x64 a member function takes `this` first and its arguments after it, in the one x64
 * calling convention, as a C function does; on Linux x86-64 the same holds under the System V
 * convention. So a C function pointer with `this` first stands for one slot on both. */
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

typedef struct Guid {
  uint32_t data1;
  uint16_t data2;
  uint16_t data3;
  uint8_t data4[8];
} Guid;

static const Guid kIidExtensible = {0x076AA9D6, 0x96C6, 0x49E8, {0x95, 0x25, 0xAE, 0x5B, 0xEC, 0x6B, 0xA0, 0x3F}};
static const Guid kIidModule = {0x8E335B81, 0x9F5F, 0x490B, {0xA5, 0x21, 0x97, 0xE3, 0x1A, 0x3B, 0xD1, 0x35}};
static const Guid kIidDaemonManager = {0x132D536B, 0xC701, 0x4544, {0x83, 0x8C, 0x90, 0xB5, 0xE2, 0xCD, 0x39, 0xFA}};
static const Guid kClsidHalcyra = {0xEDDC6A89, 0x933A, 0x4F71, {0xBC, 0xB1, 0x83, 0x42, 0x8E, 0xD2, 0x0F, 0x15}};
static const Guid kZeroGuid = {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};

typedef struct Extensible Extensible;
typedef struct Module Module;
typedef struct DaemonManager DaemonManager;
typedef struct DynamicModule DynamicModule;

/* An extensible object: what the module receives as `caller`. */
typedef struct ExtensibleSlots {
  void* (*ScalarDeletingDestructor)(Extensible* self, uint32_t flags); /* 0 */
  void* (*GetInterface)(Extensible* self, const Guid* iid);            /* 1 */
} ExtensibleSlots;
struct Extensible {
  const ExtensibleSlots* slots;
};

/* A module, as the handle gives it out. */
typedef struct ModuleSlots {
  void* (*ScalarDeletingDestructor)(Module* self, uint32_t flags); /* 0 */
  void* (*GetInterface)(Module* self, const Guid* iid);            /* 1 */
  void (*SetManager)(Module* self, DaemonManager* manager);        /* 2 */
  const uint16_t* (*GetName)(Module* self);                        /* 3 */
  const uint16_t* (*GetDisplayName)(Module* self);                 /* 4 */
  int32_t (*GetState)(Module* self);                               /* 5 */
  int32_t (*Init)(Module* self, Extensible* caller);               /* 6 */
  void (*Uninit)(Module* self, Extensible* caller);                /* 7 */
  int32_t (*Start)(Module* self, Extensible* caller);              /* 8 */
  void (*Stop)(Module* self, Extensible* caller);                  /* 9 */
  int32_t (*Reserved)(Module* self);                               /* 10 */
} ModuleSlots;
struct Module {
  const ModuleSlots* slots;
};

/* The daemon's manager: an extensible object with the daemon's operations behind GetInterface. */
typedef struct DaemonManagerSlots {
  void* (*ScalarDeletingDestructor)(DaemonManager* self, uint32_t flags); /* 0 */
  void* (*GetInterface)(DaemonManager* self, const Guid* iid);            /* 1 */
  Module* (*FindModule)(DaemonManager* self, const Guid* clsid);          /* 2 */
  void (*Unused3)(DaemonManager* self);                                   /* 3 */
  void (*OnModuleStateChanged)(DaemonManager* self);                      /* 4 */
} DaemonManagerSlots;
struct DaemonManager {
  const DaemonManagerSlots* slots;
};

/* The handle that CreateModule gives. */
typedef struct DynamicModuleSlots {
  void* (*ScalarDeletingDestructor)(DynamicModule* self, uint32_t flags); /* 0 */
  uint32_t (*GetVersion)(DynamicModule* self);                            /* 1 */
  Module* (*GetModule)(DynamicModule* self);                              /* 2 */
} DynamicModuleSlots;
struct DynamicModule {
  const DynamicModuleSlots* slots;
};

#define SLOT_OFFSET(n) ((n) * sizeof(void*))
_Static_assert(offsetof(ExtensibleSlots, GetInterface) == SLOT_OFFSET(1), "caller slots");
_Static_assert(offsetof(ModuleSlots, Init) == SLOT_OFFSET(6), "module slots");
_Static_assert(offsetof(ModuleSlots, Reserved) == SLOT_OFFSET(10), "module slots");
_Static_assert(offsetof(DaemonManagerSlots, FindModule) == SLOT_OFFSET(2), "manager slots");
_Static_assert(offsetof(DaemonManagerSlots, OnModuleStateChanged) == SLOT_OFFSET(4), "manager slots");
_Static_assert(offsetof(DynamicModuleSlots, GetModule) == SLOT_OFFSET(2), "handle slots");

/* The library's exports: the daemon's four, and the host's settings. */
extern DynamicModule* CreateModule(const uint16_t* name);
extern void ReleaseModule(DynamicModule* module);
extern int32_t GetModuleNames(uint16_t* names, uint64_t capacity);
extern int32_t GetCLSIDFromModuleName(Guid* clsid, const uint16_t* name);

typedef int32_t (*ClassObjectLookup)(const Guid* clsid, const Guid* iid, void** object);

typedef struct HostSettings {
  uint32_t size;
  int32_t logLevel;
  void* sink;
  const char* logFilePath;
  void (*debugChannelHook)(void* context, const char* utf8Text);
  void* debugChannelContext;
  ClassObjectLookup classObjectLookup;
} HostSettings;
extern int32_t HalcyraConfigureHost(const HostSettings* settings);

/* The machine's audio system (the simulated one), made once; the lookup of its class table. */
extern ClassObjectLookup DaemonBoundaryStartAudio(void);

/* --- checks --- */

static int g_checks;
static int g_failures;

static void Check(int passed, const char* what, int line) {
  ++g_checks;
  if (passed) return;
  ++g_failures;
  fprintf(stderr, "daemon_boundary_test.c:%d: check failed: %s\n", line, what);
}
#define CHECK(condition) Check((condition) != 0, #condition, __LINE__)

static int SameGuid(const Guid* a, const Guid* b) { return memcmp(a, b, sizeof(Guid)) == 0; }

/* Whether the UTF-16 string `text` holds the ASCII string `expected`. */
static int SameText(const uint16_t* text, const char* expected) {
  if (text == NULL) return 0;
  size_t i = 0;
  for (; expected[i] != 0; ++i) {
    if (text[i] != (uint16_t)(unsigned char)expected[i]) return 0;
  }
  return text[i] == 0;
}

/* --- the objects the daemon hands in --- */

enum { kMaxRecorded = 8 };

/* The interfaces one object was asked for through its slot 1, in order. */
typedef struct QueryRecord {
  int count;
  Guid asked[kMaxRecorded];
} QueryRecord;

static void RecordQuery(QueryRecord* record, const Guid* iid) {
  if (record->count < kMaxRecorded) record->asked[record->count] = *iid;
  ++record->count;
}

/* Whether the last two questions were the module's identity and then the manager's: that is how
 * the library finds a caller's name for its request trace. */
static int AskedModuleThenManager(const QueryRecord* record) {
  return record->count == 2 && SameGuid(&record->asked[0], &kIidModule) &&
         SameGuid(&record->asked[1], &kIidDaemonManager);
}

/* The daemon's manager. It answers for the manager's and the extensible identity, and records the
 * state the module shows at each state change. `base` comes first, so that the object's address is
 * the address of its slot table pointer. */
typedef struct TestManager {
  DaemonManager base;
  Module* observed;
  int32_t statesSeen[kMaxRecorded];
  int stateChanges;
  int findModuleCalls;
  int unusedCalls;
  int destructorCalls;
  QueryRecord queries;
} TestManager;

static void* ManagerScalarDeletingDestructor(DaemonManager* self, uint32_t flags) {
  (void)flags;
  ++((TestManager*)self)->destructorCalls;
  return self;
}

static void* ManagerGetInterface(DaemonManager* self, const Guid* iid) {
  TestManager* manager = (TestManager*)self;
  RecordQuery(&manager->queries, iid);
  if (SameGuid(iid, &kIidDaemonManager) || SameGuid(iid, &kIidExtensible)) return self;
  return NULL;
}

static Module* ManagerFindModule(DaemonManager* self, const Guid* clsid) {
  (void)clsid;
  ++((TestManager*)self)->findModuleCalls;
  return NULL;
}

static void ManagerUnused3(DaemonManager* self) { ++((TestManager*)self)->unusedCalls; }

static void ManagerOnModuleStateChanged(DaemonManager* self) {
  TestManager* manager = (TestManager*)self;
  int32_t state = manager->observed->slots->GetState(manager->observed);
  if (manager->stateChanges < kMaxRecorded) manager->statesSeen[manager->stateChanges] = state;
  ++manager->stateChanges;
}

static const DaemonManagerSlots kManagerSlots = {
    ManagerScalarDeletingDestructor, ManagerGetInterface, ManagerFindModule, ManagerUnused3,
    ManagerOnModuleStateChanged,
};

/* A caller that is neither a module nor the manager: it answers only for the extensible identity. */
typedef struct TestCaller {
  Extensible base;
  int destructorCalls;
  QueryRecord queries;
} TestCaller;

static void* CallerScalarDeletingDestructor(Extensible* self, uint32_t flags) {
  (void)flags;
  ++((TestCaller*)self)->destructorCalls;
  return self;
}

static void* CallerGetInterface(Extensible* self, const Guid* iid) {
  RecordQuery(&((TestCaller*)self)->queries, iid);
  return SameGuid(iid, &kIidExtensible) ? self : NULL;
}

static const ExtensibleSlots kCallerSlots = {CallerScalarDeletingDestructor, CallerGetInterface};

/* --- the library's request traces, seen on its debug channel --- */

enum { kMaxTraceLength = 512 };

/* The request traces in order. Only the requests, made on this program's one thread, write here;
 * lines of the library's other threads are looked at and dropped. */
static char g_traces[kMaxRecorded][kMaxTraceLength];
static int g_traceCount;

static void OnDebugLine(void* context, const char* text) {
  (void)context;
  if (strstr(text, " request on module ") == NULL) return;
  if (g_traceCount < kMaxRecorded) {
    strncpy(g_traces[g_traceCount], text, kMaxTraceLength - 1);
    g_traces[g_traceCount][kMaxTraceLength - 1] = 0;
  }
  ++g_traceCount;
}

/* Whether trace `index` is the `request` on the module "Halcyra", from a caller named `callerName`. */
static int TraceNames(int index, const char* request, const char* callerName) {
  char wanted[64];
  char from[64];
  if (index >= g_traceCount || index >= kMaxRecorded) return 0;
  snprintf(wanted, sizeof wanted, ": %s request on module Halcyra (", request);
  snprintf(from, sizeof from, ") from %s (", callerName);
  return strstr(g_traces[index], wanted) != NULL && strstr(g_traces[index], from) != NULL;
}

/* --- the daemon's sequence --- */

int main(void) {
  /* The machine first, so that it outlives the module; then the host's settings: trace level, the
   * debug channel to this program, and the machine's class table. */
  HostSettings settings;
  memset(&settings, 0, sizeof settings);
  settings.size = sizeof settings;
  settings.logLevel = 4;
  settings.debugChannelHook = OnDebugLine;
  settings.classObjectLookup = DaemonBoundaryStartAudio();
  CHECK(settings.classObjectLookup != NULL);
  CHECK(HalcyraConfigureHost(&settings) == 0);

  /* The names, then the CLSID of a name, then the handle. */
  uint16_t names[2 * 260];
  memset(names, 0xFF, sizeof names);
  CHECK(GetModuleNames(names, 1) == 0);
  CHECK(SameText(names, "Halcyra"));

  Guid clsid = kZeroGuid;
  CHECK(GetCLSIDFromModuleName(&clsid, names) == 0);
  CHECK(SameGuid(&clsid, &kClsidHalcyra));

  DynamicModule* handle = CreateModule(names);
  CHECK(handle != NULL);
  if (handle == NULL) return 1;
  CHECK(CreateModule(NULL) == handle);
  CHECK(CreateModule(u"*") == handle);

  /* The handle: version at slot 1, module at slot 2. */
  CHECK(handle->slots->GetVersion(handle) == 0x01010000u);
  Module* module = handle->slots->GetModule(handle);
  CHECK(module != NULL);
  if (module == NULL) return 1;
  CHECK(handle->slots->GetModule(handle) == module);

  /* The module answers for its own identities with itself, and for nothing else. */
  CHECK(module->slots->GetInterface(module, &kIidModule) == module);
  CHECK(module->slots->GetInterface(module, &kIidExtensible) == module);
  CHECK(module->slots->GetInterface(module, &kIidDaemonManager) == NULL);
  CHECK(module->slots->GetInterface(module, &kZeroGuid) == NULL);

  CHECK(SameText(module->slots->GetName(module), "Halcyra"));
  CHECK(SameText(module->slots->GetDisplayName(module), "Halcyra"));
  CHECK(module->slots->GetState(module) == 0);
  CHECK(module->slots->Reserved(module) == 0);

  TestManager manager;
  memset(&manager, 0, sizeof manager);
  manager.base.slots = &kManagerSlots;
  manager.observed = module;
  TestCaller caller;
  memset(&caller, 0, sizeof caller);
  caller.base.slots = &kCallerSlots;

  module->slots->SetManager(module, &manager.base);

  /* Init from the manager: the module asks the manager who it is at slot 1, and reports the new
   * state at slot 4 while its count has not moved yet. */
  CHECK(module->slots->Init(module, (Extensible*)&manager) == 0);
  CHECK(AskedModuleThenManager(&manager.queries));
  CHECK(TraceNames(0, "Init", "daemon manager"));
  CHECK(module->slots->GetState(module) == 1);
  CHECK(manager.stateChanges == 1);
  CHECK(manager.statesSeen[0] == 0);

  /* A second Init only counts. */
  manager.queries.count = 0;
  CHECK(module->slots->Init(module, (Extensible*)&manager) == 0);
  CHECK(AskedModuleThenManager(&manager.queries));
  CHECK(manager.stateChanges == 1);

  /* Start and Stop from a caller that answers neither identity. */
  CHECK(module->slots->Start(module, &caller.base) == 0);
  CHECK(AskedModuleThenManager(&caller.queries));
  CHECK(TraceNames(2, "Start", "unknown object"));
  CHECK(module->slots->GetState(module) == 2);
  CHECK(manager.stateChanges == 2);
  CHECK(manager.statesSeen[1] == 2);

  caller.queries.count = 0;
  module->slots->Stop(module, &caller.base);
  CHECK(AskedModuleThenManager(&caller.queries));
  CHECK(TraceNames(3, "Stop", "unknown object"));
  CHECK(module->slots->GetState(module) == 1);
  CHECK(manager.stateChanges == 3);
  CHECK(manager.statesSeen[2] == 1);

  /* Two Uninits balance the two Inits; only the last one changes the state. */
  manager.queries.count = 0;
  module->slots->Uninit(module, (Extensible*)&manager);
  CHECK(AskedModuleThenManager(&manager.queries));
  CHECK(module->slots->GetState(module) == 1);
  CHECK(manager.stateChanges == 3);
  module->slots->Uninit(module, (Extensible*)&manager);
  CHECK(TraceNames(5, "Uninit", "daemon manager"));
  CHECK(module->slots->GetState(module) == 0);
  CHECK(manager.stateChanges == 4);
  CHECK(manager.statesSeen[3] == 0);

  CHECK(module->slots->Reserved(module) == 0);

  /* The module has no dependencies, so it never looked for another module, and it touched nothing
   * else of the daemon's: no slot 3, no destructor. */
  CHECK(manager.findModuleCalls == 0);
  CHECK(manager.unusedCalls == 0);
  CHECK(manager.destructorCalls == 0);
  CHECK(caller.destructorCalls == 0);

  /* The module can be started again, and ReleaseModule destroys nothing. */
  CHECK(module->slots->Init(module, &caller.base) == 0);
  CHECK(module->slots->Start(module, &caller.base) == 0);
  CHECK(module->slots->GetState(module) == 2);
  module->slots->Stop(module, &caller.base);
  module->slots->Uninit(module, &caller.base);
  CHECK(module->slots->GetState(module) == 0);
  CHECK(manager.stateChanges == 8);
  CHECK(g_traceCount == 10);

  ReleaseModule(handle);
  CHECK(CreateModule(NULL) == handle);
  CHECK(handle->slots->GetModule(handle) == module);

  printf("%d checks, %d failed\n", g_checks, g_failures);
  return g_failures == 0 ? 0 : 1;
}
