// Script files in memory, in place of the file system's.
#pragma once

#include "script/load_environment.h"
#include "vl/core.h"
#include "vl/file/exception.h"

#include <cstring>
#include <map>
#include <string>

class MemoryScripts final : public vl::ScriptFiles {
  public:
    std::map<std::string, std::string> m_files;

    const char *fullPath(const char *name) override {
        if (std::strlen(name) > 250)
            V_throw(V_FileException_PathTooLong(name));
        m_strPath = '\\' + std::string(name);
        return m_strPath.c_str();
    }
    char *load(const char *path, unsigned int &size) override {
        const auto file = m_files.find(path + 1);
        if (file == m_files.end())
            V_throw(V_FileException_FileNotFound(path));
        if (file->second.empty())
            V_throw(V_FileException_FileCorrupted(path));
        size = static_cast<unsigned int>(file->second.size());
        return static_cast<char *>(std::memcpy(V_Memory::allocateCounted(size), file->second.data(), size));
    }

  private:
    std::string m_strPath;
};
