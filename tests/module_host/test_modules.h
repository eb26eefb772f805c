// Modules and callers for the module host tests: they record what the base class does to them.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "module_host/listening_module.h"

namespace Testing {

// The daemon's manager: answers for the manager's identity and records state changes, with the
// module's state at the moment of each.
class RecordingManager final : public Common::CBoundaryObjectT<Daemon::IDaemonManager> {
public:
  void* GetInterface(const Common::GUID* iid) override {
    if (*iid == Daemon::IID_IDaemonManager) return static_cast<Daemon::IDaemonManager*>(this);
    return *iid == Common::IID_IExtensible ? static_cast<Common::IExtensible*>(this) : nullptr;
  }
  Daemon::IModule* FindModule(const Common::GUID* clsid) override {
    for (auto& [id, module] : modules) {
      if (id == *clsid) return module;
    }
    return nullptr;
  }
  void Unused3() override {}
  void OnModuleStateChanged() override { statesSeen.push_back(observed != nullptr ? observed->GetState() : -1); }

  std::vector<std::pair<Common::GUID, Daemon::IModule*>> modules;
  Daemon::IModule* observed = nullptr;
  std::vector<std::int32_t> statesSeen;
};

// An object that answers neither a module's nor the manager's identity.
class StrangerCaller final : public Common::CBoundaryObjectT<Common::IExtensible> {
public:
  void* GetInterface(const Common::GUID*) override { return nullptr; }
};

// A listening module whose start and stop are counted, whose dependencies are given by the test,
// and whose Init, Start, Stop and Uninit calls from others go into a shared journal.
class TestModule : public Daemon::AListeningModule {
public:
  TestModule(const char16_t* name, std::vector<std::string>* journal = nullptr)
      : AListeningModule(name, name), m_journal(journal) {}

  ErrorCode OnStart() override {
    ++startRuns;
    return startResult;
  }
  void OnStop() override { ++stopRuns; }

  ErrorCode Init(Common::IExtensible* caller) override {
    Record("Init");
    if (initResult != ErrorNone) return initResult;
    return AListeningModule::Init(caller);
  }
  void Uninit(Common::IExtensible* caller) override {
    Record("Uninit");
    AListeningModule::Uninit(caller);
  }
  ErrorCode Start(Common::IExtensible* caller) override {
    Record("Start");
    if (failStart != ErrorNone) return failStart;
    return AListeningModule::Start(caller);
  }
  void Stop(Common::IExtensible* caller) override {
    Record("Stop");
    AListeningModule::Stop(caller);
  }

  using AModule::Dependencies;
  using AModule::Flags;

  std::function<void(Daemon::DependencyEnumTarget&)> declare;
  int startRuns = 0;
  int stopRuns = 0;
  ErrorCode startResult = ErrorNone;
  ErrorCode initResult = ErrorNone;
  ErrorCode failStart = ErrorNone;

protected:
  void EnumDependencies(Daemon::DependencyEnumTarget& target) override {
    if (declare) declare(target);
  }

private:
  void Record(const char* request) {
    if (m_journal != nullptr) m_journal->push_back(std::string(request) + " " + NameUtf8());
  }
  std::string NameUtf8() {
    std::string name;
    for (const char16_t* c = GetName(); *c != 0; ++c) name += static_cast<char>(*c);
    return name;
  }

  std::vector<std::string>* m_journal;
};

}  // namespace Testing
