// A host of somebody who has the installed contract alone: loads each module and asks its object who it is.
#include <contract/host_contract.h>

#include <cstdio>
#include <cstring>
#include <string>

#include <dlfcn.h>

int main() {
    for (const char* name : {"mixconsole.so", "mixsurface.so"}) {
        void* const module = dlopen((std::string(MODULES) + "/" + name).c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!module) return std::fprintf(stderr, "%s\n", dlerror()), 1;
        HRESULT (*create)(IUnknown**) = nullptr;
        void* const entry = dlsym(module, "QmOPTPlug_CreateOPTObject");
        std::memcpy(&create, &entry, sizeof create);
        IUnknown* object = nullptr;
        IMPInitialise* initialise = nullptr;
        if (!create || tarn::Failed(create(&object))) return 1;
        if (tarn::Failed(object->QueryInterface(IID_IMPInitialise, reinterpret_cast<void**>(&initialise))))
            return 1;
        initialise->Release();
        object->Release();
        std::printf("%s\n", name);
    }
}
