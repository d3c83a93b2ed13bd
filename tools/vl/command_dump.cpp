// vl dump: a memory file as a tree of its chunks and tagged values, from disk or out of an archive.
//
// The tree is built first, as JSON, and then printed as JSON or as text. Each item is one object:
//
//   chunk    offset, chunk, version, size, items
//   value    offset, type, value: what is printed, as JSON has it; numbers in the fewest digits that read
//   back
//            as the same value of their type, what is not finite as "nan", "inf" or "-inf"
//   bytes    offset, bytes (as hex), untagged or (below damage) rest
//   damage   offset, damage: what is wrong there
//
// Where damage ends a chunk's items, the rest of its payload is shown as bytes, and the parent goes on behind
// the chunk. A payload whose very first byte is no tag was written without tags.

#include "commands.h"
#include "opened_archive.h"

#include "memoryfile/chunk_header.h"
#include "platform/native.h"
#include "vl/core.h"
#include "vl/file.h"
#include "vl/math_types.h"
#include "vl/memoryfile.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <type_traits>

using json = nlohmann::ordered_json;
using vl::chunkHeaderSize;

namespace {

/// Chunks nested deeper are not looked into; no writer nests so deep, but a damaged file might.
constexpr int deepest = 100;

struct DumpOptions {
    std::string file, archive;
    bool asJson = false, untagged = false;
};

/// JSON in one line; what is no valid text in a string is replaced.
std::string compact(const json &value) { return value.dump(-1, ' ', false, json::error_handler_t::replace); }

class Dumper {
  public:
    Dumper(const std::string &bytes, bool untagged) : m_bytes(bytes), m_bUntagged(untagged) {}

    bool damaged() const { return m_bDamaged; }

    json items(unsigned int begin, unsigned int end, int depth) {
        json result = json::array();
        unsigned int position = begin;
        while (position != end) {
            if (byteAt(position) == V_MemoryFile::BT_CHUNK && looksLikeChunk(position, end)) {
                position = addChunk(result, position, end, depth);
                continue;
            }
            if (m_bUntagged) {
                const unsigned int begun = position++;
                while (position != end && !looksLikeChunk(position, end))
                    ++position;
                result.push_back({{"offset", begun}, {"bytes", hex(begun, position)}, {"untagged", true}});
                continue;
            }
            const std::string problem = addValue(result, position, end);
            if (problem.empty())
                continue;
            if (result.empty() && depth > 0 && problem == noTag) {
                result.push_back({{"offset", begin}, {"bytes", hex(begin, end)}, {"untagged", true}});
            } else {
                addDamage(result, position, problem);
                result.push_back({{"offset", position}, {"bytes", hex(position, end)}, {"rest", true}});
            }
            break;
        }
        return result;
    }

  private:
    static constexpr const char *noTag = "no tag of a value";

    unsigned char byteAt(unsigned int offset) const { return static_cast<unsigned char>(m_bytes[offset]); }
    V_MemoryFile::ChunkHeader headerAt(unsigned int offset) const {
        return vl::chunkHeaderAt(m_bytes.data() + offset);
    }

    std::string hex(unsigned int begin, unsigned int end) const {
        std::string text;
        for (; begin != end; ++begin) {
            char digits[4];
            std::snprintf(digits, sizeof digits, "%02x ", byteAt(begin));
            text += digits;
        }
        return text.substr(0, text.size() - !text.empty());
    }

    void addDamage(json &result, unsigned int offset, const std::string &what) {
        m_bDamaged = true;
        result.push_back({{"offset", offset}, {"damage", what}});
    }

    /// Without tags a marker alone says little; a size that fits as well decides.
    bool looksLikeChunk(unsigned int position, unsigned int end) const {
        if (!m_bUntagged)
            return byteAt(position) == V_MemoryFile::BT_CHUNK;
        if (byteAt(position) != V_MemoryFile::BT_CHUNK || end - position < chunkHeaderSize)
            return false;
        const unsigned int size = headerAt(position).size;
        return size >= chunkHeaderSize && size <= end - position;
    }

    /// Adds the chunk at `position` and returns where it ends.
    unsigned int addChunk(json &result, unsigned int position, unsigned int end, int depth) {
        if (end - position < chunkHeaderSize) {
            addDamage(result, position, "chunk header cut short");
            result.push_back({{"offset", position}, {"bytes", hex(position, end)}, {"rest", true}});
            return end;
        }
        const V_MemoryFile::ChunkHeader header = headerAt(position);
        const unsigned int size = header.size;
        unsigned int chunkEnd = position + size;
        json chunk = {
            {"offset", position}, {"chunk", header.identifier}, {"version", header.version}, {"size", size}};
        if (size < chunkHeaderSize || size > end - position) {
            // Whatever its size should be, its payload begins behind the header and ends with its parent.
            addDamage(result, position + vl::chunkSizeOffset,
                      size == 0 ? "chunk that was never closed" : "chunk size that does not fit");
            chunkEnd = end;
        }
        const unsigned int payload = position + chunkHeaderSize;
        if (depth == deepest) {
            addDamage(result, position, "chunks nested too deep");
            chunk["items"] =
                json::array({{{"offset", payload}, {"bytes", hex(payload, chunkEnd)}, {"rest", true}}});
        } else {
            chunk["items"] = items(payload, chunkEnd, depth + 1);
        }
        result.push_back(std::move(chunk));
        return chunkEnd;
    }

    /// Adds the tagged value at `position` and moves that behind it. Otherwise tells what is wrong.
    std::string addValue(json &result, unsigned int &position, unsigned int end) const {
        V_MemoryFile file(m_bytes.data() + position, end - position, false);
        const char *type = nullptr;
        std::string value;
        try {
            value = readValue(file, byteAt(position), type);
        } catch (V_MemoryFileException_Overreading *) {
            return "value cut short";
        } catch (V_MemoryFileException_DataError *) {
            return "string without a length";
        }
        if (!type)
            return noTag;
        result.push_back({{"offset", position}, {"type", type}, {"value", std::move(value)}});
        position += file.getPosition();
        return {};
    }

    template <class T>
    static T read(V_MemoryFile &file) {
        T value{};
        file >> value;
        return value;
    }

    /// JSON has no numbers for what is not finite.
    template <class Real>
    static std::string number(Real value) {
        if (!std::isfinite(value))
            return std::isnan(value) ? "\"nan\"" : value < 0 ? "\"-inf\"" : "\"inf\"";
        char digits[32];
        const std::string text(digits, std::to_chars(digits, std::end(digits), value).ptr);
        return text.find_first_of(".e") == text.npos ? text + ".0" : text; // never taken for an integer
    }

    // A value as it is printed, by its type.
    static std::string shown(bool value) { return value ? "true" : "false"; }
    static std::string shown(const V_String &text) { return compact(std::string(text.data(), text.size())); }
    static std::string shown(M_Float16 value) { return number(static_cast<float>(value)); }
    template <class Value>
    static std::string shown(const Value &value) {
        if constexpr (std::is_floating_point_v<Value>) {
            return number(value);
        } else if constexpr (std::is_integral_v<Value>) {
            return std::to_string(value);
        } else { // a block of floats
            float values[sizeof(Value) / sizeof(float)];
            std::memcpy(values, &value, sizeof value);
            std::string result;
            for (const float one : values)
                result += (result.empty() ? "[" : ",") + number(one);
            return result + "]";
        }
    }

    /// The value at the position, and the name of its type; no type when the tag is none of a value.
    static std::string readValue(V_MemoryFile &file, unsigned char tag, const char *&type) {
        switch (tag) {
#define VALUE(tag, byte, name, Type, ...)                                                                    \
    case byte:                                                                                               \
        return type = name, shown(read<Type>(file));
#define NO_VALUE(tag, byte)
            // NOLINTNEXTLINE(bugprone-branch-clone): several tags are forms of one type
            VL_MEMORY_FILE_TAGS(VALUE, VALUE, NO_VALUE)
#undef VALUE
#undef NO_VALUE
        default:
            return {};
        }
    }

    const std::string &m_bytes;
    const bool m_bUntagged;
    bool m_bDamaged = false;
};

// ---- Printing ------------------------------------------------------------------------------------------

/// One item to a line.
void printJson(const json &items, int depth) {
    const char *separator = "[";
    for (const json &item : items) {
        std::printf("%s\n%*s", separator, 2 * depth + 2, "");
        separator = "{";
        for (const auto &[key, value] : item.items()) {
            std::printf("%s\"%s\": ", separator, key.c_str());
            separator = ", ";
            if (key == "items")
                printJson(value, depth + 1);
            else
                std::fputs((key == "value" ? value.get<std::string>() : compact(value)).c_str(), stdout);
        }
        separator = "},";
    }
    std::printf("%s%s", items.empty() ? "[]" : "}]", depth == 0 ? "\n" : "");
}

void printText(const json &items, int depth) {
    for (const json &item : items) {
        std::printf("%08x  %*s", item["offset"].get<unsigned int>(), 2 * depth, "");
        if (item.contains("chunk")) {
            std::printf("chunk %u version %u size %u\n", item["chunk"].get<unsigned int>(),
                        item["version"].get<unsigned int>(), item["size"].get<unsigned int>());
            printText(item["items"], depth + 1);
        } else if (item.contains("type")) {
            std::printf("%s %s\n", item["type"].get<std::string>().c_str(),
                        item["value"].get<std::string>().c_str());
        } else if (item.contains("damage")) {
            std::printf("DAMAGE: %s\n", item["damage"].get<std::string>().c_str());
        } else {
            std::printf("%s %s\n", item.contains("untagged") ? "untagged" : "rest",
                        item["bytes"].get<std::string>().c_str());
        }
    }
}

// ---- The command ---------------------------------------------------------------------------------------

std::string contentOf(const DumpOptions &options) {
    if (options.archive.empty()) {
        const std::filesystem::path path = vl::platform::nativePath(options.file);
        std::ifstream stream(path, std::ios::binary);
        if (!stream || !std::filesystem::is_regular_file(path))
            throw std::runtime_error(options.file + ": cannot be read");
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    // The archive spells its names with backslashes from the root and ignores case, and so may the user.
    std::string wanted = options.file;
    std::replace(wanted.begin(), wanted.end(), '/', '\\');
    if (wanted.empty() || wanted[0] != '\\')
        wanted.insert(0, "\\");
    const OpenedArchive archive(vl::platform::nativePath(options.archive));
    for (const V_File::VASFileEntry *entry : archive.files())
        if (V_StringI(archive.pathOf(*entry).c_str()) == wanted.c_str())
            return archive.read(*entry);
    throw std::runtime_error(options.archive + ": no file " + options.file);
}

int dump(const DumpOptions &options) {
    const std::string content = contentOf(options);
    if (content.size() > 0xFFFFFFFFu)
        throw std::runtime_error(options.file + ": too large for a memory file");
    Dumper dumper(content, options.untagged);
    const json items = dumper.items(0, static_cast<unsigned int>(content.size()), 0);
    if (options.asJson)
        printJson(items, 0);
    else
        printText(items, 0);
    return dumper.damaged() ? 1 : 0;
}

} // namespace

void addDumpCommand(CLI::App &app, int &exitStatus) {
    CLI::App *command = app.add_subcommand("dump", "Show a data file as a tree of its chunks and values.");
    auto options = std::make_shared<DumpOptions>();
    command->add_option("FILE", options->file, "The data file; with --archive, its name in the archive")
        ->required();
    command->add_option("--archive", options->archive, "Read FILE out of this VAS archive")
        ->check(CLI::ExistingFile);
    command->add_flag("--json", options->asJson, "Print JSON");
    command->add_flag("--untagged", options->untagged,
                      "The file was written without tags: show values as bytes");
    command->footer(
        "Offsets count from the first byte of the file. Damage is reported where it lies and what\n"
        "remains readable is shown; the exit status is then 1.");
    command->callback([options, &exitStatus] { exitStatus = dump(*options); });
}
