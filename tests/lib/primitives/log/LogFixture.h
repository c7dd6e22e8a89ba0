// Data and catalog roots of its own for each test, and what the process sent to the system log.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "primitives/log/Log.h"
#include "primitives/message/MsgStruct.h"
#include "support/CatalogBuilder.h"
#include "support/SyslogTrap.h"

class LogFixture : public testing::Test {
protected:
    LogFixture() {
        char name[] = "/tmp/logXXXXXX";
        root = mkdtemp(name);
        std::filesystem::create_directory(root + "/ldf");
        for (const char* var : {"TAQ_LOG", "TAQ_LDF", "TAQ_MESSAGES_DIR"}) setenv(var, root.c_str(), 1);
        for (const char* var : {"TAQ_ENABLE_LDF", "TAQ_DEBUG_LOG_TAGS", "QEN_LOG_MAXLEN"}) unsetenv(var);
        setenv("QENI18N_LANG", "en", 1);
        setenv("TZ", "UTC", 1);
        tzset();
        clear_syslog();
        Log::init("QEN", "K-16", nullptr);
    }
    ~LogFixture() override {
        Log::destroy();
        std::filesystem::remove_all(root);
    }

    // An open log; it need not have a file yet.
    static std::unique_ptr<Log> opened(const char* name, FILE* fp = nullptr, int flags = 0) {
        auto log = std::make_unique<Log>();
        EXPECT_EQ(ULOG_OK, log->open(name, fp, flags, nullptr));
        return log;
    }
    static std::string slurp(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    std::string log_path(const std::string& file) const { return root + "/log/" + file; }
    // What stands behind the header of a text log.
    std::string body(const std::string& file) const {
        const std::string all = slurp(log_path(file));
        const size_t end = all.find("#\n\n");
        return end == std::string::npos ? "<no header>" : all.substr(end + 3);
    }

    // Writes the catalogs of the module for a language: texts by category and number.
    using Texts = std::map<unsigned, std::map<unsigned, std::string>>;
    void write_catalogs(const std::string& language, const Texts& texts) const {
        CatalogTree tree(root, language);
        for (const auto& [category, messages] : texts) {
            CatalogBuilder catalog;
            for (const auto& [number, text] : messages) catalog.text(number, text);
            tree.catalog("C" + std::to_string(category), category, catalog);
        }
        tree.write();
    }

    // A message with a text and arguments, of the given type; -1: no identifier.
    static std::unique_ptr<MsgStruct> message(const std::string& text, std::vector<std::string> args = {},
                                              int type = 0, int identifier = -1) {
        auto msgp = std::make_unique<MsgStruct>();
        msgp->gethdr()->setMessage(type);
        msgp->add_elem(21, text.c_str(), 0);
        for (const auto& arg : args) msgp->append_elem(22, arg.c_str(), 0);
        if (identifier != -1) msgp->add_elem(23, identifier);
        return msgp;
    }

    std::string root;
};
