// A printer in a fresh system root and a device object for it, as the
// configuration sees them at document start.
#pragma once

#include "config/config.h"
#include "diag/diag.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <string>

class PrinterTest : public ::testing::Test {
protected:
    // Writes printer `name` with the given printer file text and opens it.
    void usePrinter(const std::string& name, const std::string& json)
    {
        root.writePrinter(name, json);
        std::u16string wide = testkit::wide(name);
        ASSERT_TRUE(OpenPrinterW(const_cast<LPWSTR>(wide.c_str()), &printer, nullptr));
        devobj.hPrinter = printer;
        devobj.pPublicDM = &devmode;
    }
    // Writes printer "Embosser" with the given "Config" members (JSON) and extra
    // top-level members (JSON, with a leading comma), and opens it.
    void makePrinter(const std::string& config, const std::string& extra = "", const std::string& driver = "Pumex Pro")
    {
        usePrinter("Embosser", "{\n  \"name\": \"Embosser\",\n  \"driver\": \"" + driver +
                                   "\",\n  \"data\": { \"Config\": { " + config + " } }" + extra + "\n}\n");
    }
    void TearDown() override
    {
        if (printer)
            ClosePrinter(printer);
        gDebugLevel = 0;
    }
    // The printer file's text as it is now.
    std::string printerFile() const { return testkit::readFile(root.path() + "/printers/Embosser.json"); }
    // "OutputVersion" present, so the installer library is not asked for.
    static std::string withVersion(const std::string& members = "")
    {
        return "\"OutputVersion\": {\"type\": \"dword\", \"value\": 3}" + (members.empty() ? "" : ", " + members);
    }
    static std::string dword(const std::string& name, long long value) { return testkit::dword(name, value); }
    static std::string binary(const std::string& name, const std::string& hex)
    {
        return "\"" + name + "\": {\"type\": \"binary\", \"value\": {\"hex\": \"" + hex + "\"}}";
    }

    testkit::TempRoot root;
    HANDLE printer = nullptr;
    DEVMODEW devmode{};
    DEVOBJ devobj{};
};
