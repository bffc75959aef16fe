#include "Host/ModuleLoader.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>

#include "Common/Text.h"

namespace {

std::string ModulePath() {
  if (const char* path = std::getenv("SCRIPTWRIGHT_MODULE")) return path;
  char buffer[4096];
  const ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
  std::string program =
      length > 0 ? std::string(buffer, static_cast<size_t>(length)) : std::string();
  const size_t slash = program.rfind('/');
  const std::string beside =
      (slash == std::string::npos ? std::string(".") : program.substr(0, slash)) +
      "/libscriptwright.so";
  // Elsewhere, the dynamic loader's own search finds it (a test program
  // finds it through the run path that leads to the node library beside it).
  return access(beside.c_str(), R_OK) == 0 ? beside : "libscriptwright.so";
}

[[noreturn]] void Fail(const std::string& what) {
  const char* reason = dlerror();
  ThrowError(E_FILE_NOT_FOUND,
             u": " + ToUtf16(what) + (reason ? u" (" + ToUtf16(reason) + u")" : u""));
}

}  // namespace

ModuleLoader::ModuleLoader() {
  const std::string path = ModulePath();
  handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (!handle_) Fail("cannot load " + path);
  getModuleObject_ =
      reinterpret_cast<decltype(getModuleObject_)>(dlsym(handle_, "GetComponentsModuleObject"));
  setProvider_ = reinterpret_cast<decltype(setProvider_)>(
      dlsym(handle_, "ScriptwrightSetNamedInstanceProvider"));
  if (!getModuleObject_ || !setProvider_) Fail(path + " lacks the module exports");
}

ModuleLoader::~ModuleLoader() {
  if (handle_) dlclose(handle_);
}

CompPtr<IModuleObject> ModuleLoader::ModuleObject() const {
  CompPtr<IModuleObject> module;
  Check(getModuleObject_(&IModuleObject::kIid, module.ReceiveVoid()));
  return module;
}

void ModuleLoader::SetNamedInstanceProvider(NamedInstanceProvider provider) const {
  setProvider_(provider);
}
