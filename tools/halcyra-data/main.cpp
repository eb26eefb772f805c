// halcyra-data: the routing data of the product for people, in the manner of gsettings and dconf.
// It opens the data system DeviceRoutingDataSystem where the daemon's module opens it, and reads,
// writes and watches it by display paths such as Profiles.bVacRoutingState.
//
// Exit codes: 0 success, 1 a failure of the data system (its report on standard error), 2 a usage
// error.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "audio_service/device_routing_data_system.h"
#include "audio_service/product_identity.h"
#include "platform/com_ptr.h"
#include "platform/utf.h"
#include "tools/halcyra-data/data_commands.h"
#include "tools/halcyra-data/data_console.h"

namespace {

void PrintUsage() {
  std::puts(
      "usage: halcyra-data COMMAND [ARGUMENTS]\n"
      "  list                  every store and value with its path, type and value\n"
      "  get PATH              the value at PATH (Profiles.bVacRoutingState)\n"
      "  set PATH VALUE        writes VALUE (true/false/1/0, a number, a string, a GUID)\n"
      "  reset PATH            the value back to its default, or a store's values back to theirs\n"
      "  insert STORE.VECTOR   a new instance (Profiles.Profile); prints its path\n"
      "  erase PATH            removes a vector instance (Profiles.Profile[1])\n"
      "  describe PATH         model, type, default, bounds and place in storage\n"
      "  monitor [PATH] [--for SECONDS]\n"
      "                        one line for each change of the store at PATH (default Profiles), from any\n"
      "                        process, until Ctrl+C or SECONDS passed");
}

ErrorCode Run(DataSystem::IDataSystem* dataSystem, const std::string& command, int argc, char** argv) {
  using namespace HalcyraData;
  auto argument = [&](int index) { return Platform::Utf8ToUtf16(argv[index]); };
  if (command == "list" && argc == 2) return List(dataSystem);
  if (command == "get" && argc == 3) return Get(dataSystem, argument(2));
  if (command == "set" && argc == 4) return Set(dataSystem, argument(2), argument(3));
  if (command == "reset" && argc == 3) return Reset(dataSystem, argument(2));
  if (command == "insert" && argc == 3) return Insert(dataSystem, argument(2));
  if (command == "erase" && argc == 3) return Erase(dataSystem, argument(2));
  if (command == "describe" && argc == 3) return Describe(dataSystem, argument(2));
  if (command == "monitor") {
    std::u16string path;
    double seconds = -1;
    for (int i = 2; i < argc; ++i) {
      if (std::strcmp(argv[i], "--for") == 0 && i + 1 < argc) {
        seconds = std::atof(argv[++i]);
      } else {
        path = argument(i);
      }
    }
    return Monitor(dataSystem, path, seconds);
  }
  return -1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0) {
    PrintUsage();
    return argc < 2 ? 2 : 0;
  }
  HalcyraData::HoldReports();
  Platform::ComPtr<DataSystem::IDataSystem> dataSystem;
  ErrorCode status =
      DeviceRouting::CreateDeviceRoutingDataSystem(dataSystem.Put(), 0, DataSystem::ProductDesc{}, nullptr, nullptr);
  if (status != ErrorNone) {
    HalcyraData::ShowHeldReports();
    HalcyraData::Fail("the routing data system did not open", status);
    return 1;
  }
  HalcyraData::ShowReportsOnStandardError();
  status = Run(dataSystem.Get(), argv[1], argc, argv);
  dataSystem.Reset();
  if (status == -1) {
    PrintUsage();
    return 2;
  }
  return status == ErrorNone ? 0 : 1;
}
