// The built plug-in module as the universal driver loads it: only its two
// entry points are visible.
#include <gtest/gtest.h>

#include <dlfcn.h>

namespace {

TEST(Module, ExportsOnlyTheTwoEntryPoints)
{
    void* handle = dlopen(PUMEX_MODULE_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr) << dlerror();
    EXPECT_NE(dlsym(handle, "DllGetClassObject"), nullptr);
    EXPECT_NE(dlsym(handle, "DllCanUnloadNow"), nullptr);
    for (const char* hidden : {"OEMEnablePDEV", "LogMessage", "mymalloc", "gDebugLevel", "hrOEMDevMode",
                               "_Z13OEMEnablePDEVP6DEVOBJPDsP13DRVENABLEDATAP18IPrintOemDriverUni"})
        EXPECT_EQ(dlsym(handle, hidden), nullptr) << hidden;
    dlclose(handle);
}

}  // namespace
