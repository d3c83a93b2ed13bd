// Writes a data file of nested chunks with every type of value and reads it back by every road:
//
//     data_file write DIR        writes DIR/SCENE.DAT in memory and DIR/THROUGH.DAT through to disk
//     data_file read ROOT...     reads SCENE.DAT under each ROOT, from disk or out of an archive there
//
// Each road prints one line: every byte and every value is compared with what was written.

#include "vl/math_types.h"
#include "vl/vl.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace {

enum ChunkID : unsigned int { sceneID = 1, valuesID = 2, meshID = 3, boundsID = 4 };

// ---- What the file holds: said once, for the writer and the reader -------------------------------------

/// Puts chunks and values into a memory file.
class Writer {
  public:
    explicit Writer(V_MemoryFile &file) : m_file(file) {}

    template <class T>
    void value(const T &value) {
        m_file << value;
    }
    template <class Body>
    void chunk(unsigned int id, unsigned int version, Body body) {
        m_file.createChunk(id, version);
        body(*this);
        m_file.closeChunk();
    }

  private:
    V_MemoryFile &m_file;
};

bool same(const V_String &a, const V_String &b) { return a == b; }
bool same(const V_StringI &a, const V_StringI &b) { return std::strcmp(a.c_str(), b.c_str()) == 0; }
template <class T>
bool same(const T &a, const T &b) {
    return std::memcmp(&reinterpret_cast<const char &>(a), &reinterpret_cast<const char &>(b), sizeof a) == 0;
}

/// Reads the same chunks and values from one and compares.
class Checker {
  public:
    Checker(V_MemoryFile &file, unsigned int &values) : m_file(file), m_uValues(values) {}

    template <class T>
    void value(const T &expected) {
        T read{};
        m_file >> read;
        require(same(read, expected), "a value");
        ++m_uValues;
    }
    template <class Body>
    void chunk(unsigned int id, unsigned int version, Body body) {
        V_MemoryFile::Chunk chunk = m_file.openChunk(id);
        require(chunk.getID() == id && chunk.getVersion() == version, "a chunk");
        Checker inner(chunk.getMemoryFile(), m_uValues);
        body(inner);
        require(inner.m_file.getPosition() == chunk.getSize(), "the size of a chunk");
        m_file.skipChunk();
    }

  private:
    static void require(bool agrees, const char *what) {
        if (!agrees)
            throw std::runtime_error(std::string(what) + " differs from what was written");
    }

    V_MemoryFile &m_file;
    unsigned int &m_uValues;
};

/// A vector or matrix of the floats 1, 2, 3, ...
template <class Block>
Block counting() {
    float numbers[sizeof(Block) / sizeof(float)];
    float next = 0;
    for (float &number : numbers)
        number = ++next;
    Block result;
    std::memcpy(&reinterpret_cast<char &>(result), numbers, sizeof result);
    return result;
}

/// One value of every type, the integers at the ends of their compact forms.
template <class Visitor>
void everyType(Visitor &to) {
    for (const int value : {0, 127, -127, 32767, -32768, 8388607, -8388608, INT_MAX, INT_MIN})
        to.value(value);
    for (const unsigned int value : {0u, 255u, 256u, 65535u, 65536u, 16777215u, 16777216u, UINT_MAX})
        to.value(value);
    to.value(-2147483647L);
    to.value(4294967295UL);
    to.value(static_cast<short>(-2));
    to.value(static_cast<unsigned short>(65535));
    to.value('c');
    to.value(static_cast<signed char>(-100));
    to.value(static_cast<unsigned char>(200));
    to.value(1.5f);
    to.value(-0.1);
    to.value(M_Float16(0.5f));
    to.value(true);
    to.value(V_String("wheel"));
    to.value(V_StringI("Textures\\Rust.tga"));
    to.value(V_String(300, '-'));
    to.value(counting<M_Vector2Template<float>>());
    to.value(counting<M_Vector3Template<float>>());
    to.value(counting<M_Vector4Template<float>>());
    to.value(counting<M_Matrix2Template<float>>());
    to.value(counting<M_Matrix3Template<float>>());
    to.value(counting<M_Matrix4x3Template<float>>());
    to.value(counting<M_Matrix4Template<float>>());
}

template <class Visitor>
void scene(Visitor &file) {
    file.chunk(sceneID, 3, [](auto &all) {
        all.chunk(valuesID, 1, [](auto &values) { everyType(values); });
        for (int mesh = 0; mesh < 24; ++mesh)
            all.chunk(meshID, 2, [mesh](auto &to) {
                constexpr int vertices = 1000;
                to.value(V_String(V_STR("mesh %d", mesh)));
                to.chunk(boundsID, 1, [mesh](auto &bounds) {
                    bounds.value(M_Vector3Template<float>{-1, -1, -1});
                    bounds.value(M_Vector3Template<float>{1, 1, static_cast<float>(mesh)});
                });
                to.value(vertices);
                for (int vertex = 0; vertex < vertices; ++vertex) {
                    const int row = vertex / 40;
                    const auto x = static_cast<float>(vertex % 40);
                    to.value(M_Vector3Template<float>{x, static_cast<float>(row),
                                                      static_cast<float>(mesh) * x / 16});
                    to.value(vertex * mesh);
                }
            });
    });
}

// ---- Writing -------------------------------------------------------------------------------------------

void write(const std::filesystem::path &directory) {
    File->setFileSystemRoot(std::filesystem::absolute(directory).string().c_str());
    V_MemoryFile inMemory;
    Writer toMemory(inMemory);
    scene(toMemory);
    if (!inMemory.save("/SCENE.DAT"))
        throw std::runtime_error("cannot save SCENE.DAT");

    // Through to disk with 4 KiB pending in memory: sizes of outer chunks are written back over the file.
    V_MemoryFile through(4096, (directory / "THROUGH.DAT").string().c_str());
    Writer toDisk(through);
    scene(toDisk);
    through.destruct();
    if (through.hasWriteFailed())
        throw std::runtime_error("cannot write THROUGH.DAT");

    const V_MemoryFile back("/THROUGH.DAT", V_MemoryFile::AM_MEMORY);
    const bool equal = back.getSize() == inMemory.getSize() &&
                       std::memcmp(back.getAddress(), inMemory.getAddress(), back.getSize()) == 0;
    std::printf("written: %u bytes in memory and saved; %u bytes written through to disk: %s\n",
                inMemory.getSize(), back.getSize(), equal ? "equal" : "DIFFERENT");
    if (!equal)
        throw std::runtime_error("the two files differ");
}

// ---- Reading -------------------------------------------------------------------------------------------

/// Reads in order, as a client does that has room for one block only, and compares the bytes.
void checkBytes(V_MemoryFile &file, const V_MemoryFile &expected) {
    if (file.getSize() != expected.getSize())
        throw std::runtime_error("the file's size differs from what was written");
    char block[5000];
    while (file.getPosition() != file.getSize()) {
        const unsigned int at = file.getPosition();
        const unsigned int count = std::min<unsigned int>(sizeof block, file.getSize() - at);
        file.read(block, static_cast<int>(count));
        if (std::memcmp(block, static_cast<const char *>(expected.getAddress()) + at, count) != 0)
            throw std::runtime_error("the file's bytes differ from what was written");
    }
}

void read(const char *root, V_MemoryFile::AccessMethod access, const V_MemoryFile &expected) {
    File->setFileSystemRoot(std::filesystem::absolute(root).string().c_str());
    const bool archived = File->where("/SCENE.DAT") == V_File::LOC_ARCHIVE;
    const char *place = !archived                                                ? "disk"
                        : File->getMethod("/SCENE.DAT") == V_File::METHOD_STORED ? "stored entry"
                                                                                 : "compressed entry";
    V_MemoryFile file("/SCENE.DAT", access);
    const bool streamed = file.getAddress() == nullptr;
    checkBytes(file, expected);
    file.construct("/SCENE.DAT", access); // a compressed stream does not turn back
    unsigned int values = 0;
    Checker checker(file, values);
    scene(checker);
    std::printf("  %-17s %-9s %u bytes and %u values agree\n", place, streamed ? "streamed" : "whole",
                file.getSize(), values);
}

} // namespace

int main(int count, char **arguments) {
    try {
        const std::string command = count >= 3 ? arguments[1] : "";
        if ((command != "write" || count != 3) && command != "read") {
            std::fputs("usage: data_file write DIR\n       data_file read ROOT...\n", stderr);
            return 2;
        }
        const V_VantorInit library;
        if (command == "write") {
            write(arguments[2]);
        } else {
            V_MemoryFile expected;
            Writer writer(expected);
            scene(writer);
            std::puts("read back, from");
            for (int i = 2; i < count; ++i)
                for (const auto access : {V_MemoryFile::AM_MEMORY, V_MemoryFile::AM_STREAM})
                    read(arguments[i], access, expected);
        }
        return 0;
    } catch (V_Exception *exception) {
        std::fprintf(stderr, "data_file: %s\n", exception->getErrorMessage());
    } catch (const std::exception &exception) {
        std::fprintf(stderr, "data_file: %s\n", exception.what());
    }
    return 1;
}
