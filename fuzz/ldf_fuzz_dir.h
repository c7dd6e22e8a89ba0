// A data root in memory for the fuzz targets of the log data files; removed at exit.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

class LdfFuzzDir {
public:
    LdfFuzzDir() {
        std::string name =
            std::filesystem::is_directory("/dev/shm") ? "/dev/shm/ldffuzzXXXXXX" : "/tmp/ldffuzzXXXXXX";
        _root = mkdtemp(name.data());
        std::filesystem::create_directory(ldf());
        setenv("TAQ_LDF", _root.c_str(), 1);
        setenv("ZORQ_LOCAL_NAME", "fuzz", 1);
    }
    ~LdfFuzzDir() { std::filesystem::remove_all(_root); }
    LdfFuzzDir(const LdfFuzzDir&) = delete;
    LdfFuzzDir& operator=(const LdfFuzzDir&) = delete;

    std::string ldf() const { return _root + "/ldf"; }
    void clear() const {
        for (const auto& entry : std::filesystem::directory_iterator(ldf()))
            std::filesystem::remove_all(entry);
    }
    void put(const char* name, const uint8_t* bytes, size_t size) const {
        FILE* fp = std::fopen((ldf() + "/" + name).c_str(), "wbe");
        if (!fp || std::fwrite(bytes, 1, size, fp) != size || std::fclose(fp) != 0) abort();
    }

private:
    std::string _root;
};
