// Tagged values: exact bytes, round trips by every road, and what damage is answered with.

#include "support/library_test.h"

#include "vl/math_types.h"
#include "vl/memoryfile.h"

#include <climits>
#include <cmath>
#include <cstdint>
#include <random>
#include <type_traits>
#include <utility>

namespace {

std::string hexOf(const V_MemoryFile &file) {
    std::string text;
    char digits[4];
    for (unsigned int i = 0; i < file.getSize(); ++i) {
        std::snprintf(digits, sizeof digits, "%02X ",
                      static_cast<const unsigned char *>(file.getAddress())[i]);
        text += digits;
    }
    return text.substr(0, text.size() - !text.empty());
}

template <class T>
struct Layout {
    T value;
    const char *tagged, *bare;
};

/// Writes the value both ways, at the end and over other bytes, and reads it back.
template <class T>
void expectLayout(const Layout<T> &layout) {
    for (bool tags : {true, false}) {
        V_MemoryFile file(1);
        file.enableTags(tags);
        file << layout.value;
        EXPECT_EQ(hexOf(file), tags ? layout.tagged : layout.bare);
        const unsigned int size = file.getSize();
        file << 0;
        file.seek(0, V_MemoryFile::SM_BEGIN);
        file << layout.value;
        EXPECT_EQ(file.getPosition(), size);
        int behind = 1;
        file >> behind;
        EXPECT_EQ(behind, 0) << "overwriting reached beyond the value";
        file.toRead();
        T back{};
        file >> back;
        EXPECT_EQ(back, layout.value);
        EXPECT_EQ(file.getPosition(), size);
    }
}

template <class T>
void expectLayouts(std::initializer_list<Layout<T>> layouts) {
    for (const Layout<T> &layout : layouts)
        expectLayout(layout);
}

V_MemoryFile over(const std::string &bytes) {
    return V_MemoryFile(bytes.data(), static_cast<unsigned int>(bytes.size()), true);
}

using DataError = V_MemoryFileException_DataError;
using Overreading = V_MemoryFileException_Overreading;

template <class T, class = void>
struct CanBeWritten : std::false_type {};
template <class T>
struct CanBeWritten<T, std::void_t<decltype(std::declval<V_MemoryFile &>() << std::declval<T>())>>
    : std::true_type {};

class TaggedValues : public LibraryTest {};

} // namespace

TEST_F(TaggedValues, LieAsTheFormatSays) {
    expectLayouts<int>({{0, "14 00", "00 00 00 00"},
                        {5, "14 05", "05 00 00 00"},
                        {-1, "14 FF", "FF FF FF FF"},
                        {127, "14 7F", "7F 00 00 00"},
                        {-127, "14 81", "81 FF FF FF"},
                        {128, "13 80 00", "80 00 00 00"},
                        {-128, "13 80 FF", "80 FF FF FF"},
                        {32767, "13 FF 7F", "FF 7F 00 00"},
                        {-32767, "13 01 80", "01 80 FF FF"},
                        {32768, "12 00 80 00", "00 80 00 00"},
                        {-32768, "12 00 80 FF", "00 80 FF FF"},
                        {8388607, "12 FF FF 7F", "FF FF 7F 00"},
                        {8388608, "02 00 00 80 00", "00 00 80 00"},
                        {-8388608, "02 00 00 80 FF", "00 00 80 FF"},
                        {INT_MAX, "02 FF FF FF 7F", "FF FF FF 7F"},
                        {INT_MIN, "02 00 00 00 80", "00 00 00 80"}});
    expectLayouts<unsigned int>({{0, "11 00", "00 00 00 00"},
                                 {255, "11 FF", "FF 00 00 00"},
                                 {256, "10 00 01", "00 01 00 00"},
                                 {65535, "10 FF FF", "FF FF 00 00"},
                                 {65536, "0F 00 00 01", "00 00 01 00"},
                                 {16777215, "0F FF FF FF", "FF FF FF 00"},
                                 {16777216, "03 00 00 00 01", "00 00 00 01"},
                                 {UINT_MAX, "03 FF FF FF FF", "FF FF FF FF"}});
    expectLayouts<long>({{-2, "00 FE FF FF FF", "FE FF FF FF"}, {INT_MAX, "00 FF FF FF 7F", "FF FF FF 7F"}});
    expectLayouts<unsigned long>({{UINT_MAX, "01 FF FF FF FF", "FF FF FF FF"}});
    expectLayouts<short>({{-2, "04 FE FF", "FE FF"}});
    expectLayouts<unsigned short>({{0xABCD, "05 CD AB", "CD AB"}});
    expectLayouts<char>({{'A', "06 41", "41"}});
    expectLayouts<signed char>({{-1, "07 FF", "FF"}});
    expectLayouts<unsigned char>({{254, "08 FE", "FE"}});
    expectLayouts<float>({{1.0f, "09 00 00 80 3F", "00 00 80 3F"}});
    expectLayouts<double>({{-2.0, "0A 00 00 00 00 00 00 00 C0", "00 00 00 00 00 00 00 C0"}});
    expectLayouts<bool>({{true, "0E 01", "01"}, {false, "0E 00", "00"}});
    expectLayouts<M_Float16>({{1.0f, "26 00 3C", "00 3C"}});
    expectLayouts<V_String>(
        {{"", "0D 14 00", "00 00 00 00"}, {"abc", "0D 14 03 61 62 63", "03 00 00 00 61 62 63"}});
    expectLayouts<V_StringI>({{"aB", "0D 14 02 61 42", "02 00 00 00 61 42"}});
}

TEST_F(TaggedValues, StoreMathTypesAsTheirFloats) {
    const auto check = [](auto value, unsigned char tag) {
        float floats[sizeof value / sizeof(float)];
        for (float &f : floats)
            f = static_cast<float>(&f - floats) + 0.5f;
        std::memcpy(&value, floats, sizeof value);
        V_MemoryFile file;
        file << value;
        ASSERT_EQ(file.getSize(), 1 + sizeof value);
        EXPECT_EQ(*static_cast<const unsigned char *>(file.getAddress()), tag);
        EXPECT_EQ(std::memcmp(static_cast<const char *>(file.getAddress()) + 1, floats, sizeof floats), 0);
        file.toRead();
        decltype(value) back{};
        file >> back;
        EXPECT_EQ(std::memcmp(&back, floats, sizeof floats), 0);
    };
    check(M_Vector2Template<float>(), 21);
    check(M_Vector3Template<float>(), 22);
    check(M_Vector4Template<float>(), 23);
    check(M_Matrix2Template<float>(), 24);
    check(M_Matrix3Template<float>(), 25);
    check(M_Matrix4x3Template<float>(), 26);
    check(M_Matrix4Template<float>(), 27);
}

TEST_F(TaggedValues, WriteTextsButNoOtherPointer) {
    V_MemoryFile file;
    char text[] = "text";
    file << "text" << text << static_cast<const char *>("text");
    file.toRead();
    V_StringI back; // either string type reads what the other wrote
    for (int i = 0; i < 3; ++i) {
        file >> back;
        EXPECT_EQ(back, "TEXT");
    }
    EXPECT_THROW(file << static_cast<const char *>(nullptr), V_MemoryFileException_IllegalCall *);
    static_assert(CanBeWritten<const char *>::value && CanBeWritten<bool>::value);
    static_assert(!CanBeWritten<int *>::value && !CanBeWritten<const void *>::value);
}

TEST_F(TaggedValues, RefuseALongThatDoesNotFit) {
    if constexpr (sizeof(long) > 4) {
        V_MemoryFile file;
        EXPECT_EQ(messageOf<V_MemoryFileException_IllegalCall>([&] { file << (long{INT_MAX} + 1); }),
                  "V_MemoryFile: Unable to write a long beyond 32 bits to (memoryfile not named yet)");
        EXPECT_THROW(file << (long{INT_MIN} - 1), V_MemoryFileException_IllegalCall *);
        EXPECT_THROW(file << (static_cast<unsigned long>(UINT_MAX) + 1), V_MemoryFileException_IllegalCall *);
        EXPECT_EQ(file.getSize(), 0u);
    }
}

// One long random sequence, written in memory, through a small buffer to disk, and without tags; read back
// from memory, from a stream, and from behind a chunk's end.
TEST_F(TaggedValues, TravelEveryRoadUnchanged) {
    const auto run = [](V_MemoryFile &file, bool reading) {
        std::mt19937 random(99);
        const auto pass = [&](auto expected) {
            if (reading) {
                decltype(expected) value{};
                file >> value;
                ASSERT_EQ(value, expected);
            } else {
                file << expected;
            }
        };
        for (int i = 0; i < 60000 && !testing::Test::HasFatalFailure(); ++i) {
            const auto bits = static_cast<unsigned int>(random());
            switch (bits % 8) {
            case 0:
                pass(static_cast<int>(bits) >> (bits >> 8) % 32);
                break;
            case 1:
                pass(bits >> (bits >> 8) % 32);
                break;
            case 2:
                pass(V_String(bits >> 8 & (bits % 16 == 2 ? 0xFF : 0x0F), static_cast<char>(bits >> 16)));
                break;
            case 3:
                pass(static_cast<float>(bits));
                break;
            case 4:
                pass(static_cast<double>(bits) / 3);
                break;
            case 5:
                pass(static_cast<short>(bits));
                break;
            case 6:
                pass((bits & 64) != 0);
                break;
            default:
                pass(static_cast<long>(static_cast<int>(bits)));
            }
        }
    };
    for (bool tags : {true, false}) {
        V_MemoryFile file, through(37, (engineRoot() + "\\out.dat").c_str());
        file.enableTags(tags);
        through.enableTags(tags);
        run(file, false);
        run(through, false);
        through.destruct();
        const std::string bytes(static_cast<const char *>(file.getAddress()), file.getSize());
        ASSERT_GT(bytes.size(), std::size_t{V_MemoryFile::STREAM_SIZE});
        EXPECT_TRUE(readFile(root() / "out.dat") == bytes);

        V_MemoryFile streamed("out.dat", V_MemoryFile::AM_STREAM);
        EXPECT_EQ(streamed.getAddress(), nullptr);
        for (V_MemoryFile *reader : {&file, &streamed}) {
            reader->enableTags(tags);
            reader->seek(0, V_MemoryFile::SM_BEGIN);
            run(*reader, true);
            EXPECT_EQ(reader->getPosition(), bytes.size());
        }
    }
}

TEST_F(TaggedValues, FailAtTheFirstWrongTag) {
    V_MemoryFile file = over("\x09\x01\x02\x03\x04");
    int number = 7;
    EXPECT_EQ(messageOf<DataError>([&] { file >> number; }),
              "Invalid data read from an V_MemoryFile(memoryfile not named yet)");
    EXPECT_EQ(number, 0);
    EXPECT_EQ(file.getPosition(), 1u);

    // Every tag byte, before more than enough data, is taken by its own types and by no other.
    for (int tag = 0; tag < 256; ++tag) {
        const std::string bytes = static_cast<char>(tag) + std::string("\x14\x02\x01\x02\x03\x04\x05\x06", 8);
        const auto takes = [&](auto value) {
            V_MemoryFile one = over(bytes);
            try {
                one >> value;
                return true;
            } catch (DataError *) {
                EXPECT_EQ(one.getPosition(), 1u);
                return false;
            }
        };
        EXPECT_EQ(takes(7), tag == 2 || (tag >= 18 && tag <= 20)) << tag;
        EXPECT_EQ(takes(7u), tag == 3 || (tag >= 15 && tag <= 17)) << tag;
        EXPECT_EQ(takes(7L), tag == 0) << tag;
        EXPECT_EQ(takes(short{7}), tag == 4) << tag;
        EXPECT_EQ(takes(V_String("old")), tag == 13) << tag;
        EXPECT_EQ(takes(M_Float16(1.0f)), tag == 38) << tag;
        EXPECT_EQ(takes(true), tag == 14) << tag;
    }
}

TEST_F(TaggedValues, FailWhereTheDataEnds) {
    V_MemoryFile whole;
    whole << INT_MIN << UINT_MAX << 1.0 << V_String("abcdef") << V_String(200, 'x') << true;
    const std::string bytes(static_cast<const char *>(whole.getAddress()), whole.getSize());
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        V_MemoryFile file = over(bytes.substr(0, size));
        int number = 7;
        unsigned int natural = 7;
        double real = 7;
        V_String text = "old", longText = "old";
        bool flag = false;
        EXPECT_THROW(file >> number >> natural >> real >> text >> longText >> flag, Overreading *) << size;
        if (size < 5) {
            EXPECT_EQ(number, 0);
        } else if (size < 10) {
            EXPECT_EQ(natural, 0u);
        } else if (size < 19) {
            EXPECT_EQ(real, 7);
        } else if (size < 28) {
            EXPECT_EQ(text, V_String(size < 22 ? 0 : 6, '\0'));
        } else if (size < 232) {
            EXPECT_EQ(longText, V_String(size < 32 ? 0 : 200, '\0'));
        }
    }
}

TEST_F(TaggedValues, DoNotTrustAnAnnouncedLength) {
    const std::pair<const char *, std::size_t> lengths[] = {
        {"\x0D\x02\xFF\xFF\xFF\x7F", 0}, {"\x0D\x12\x01\x00\x01 ", 0}, {"\x0D\x12\x00\x00\x01 ", 65536}};
    for (const auto &[bytes, held] : lengths) {
        V_MemoryFile file(bytes, 6, true);
        V_String text = "old";
        EXPECT_THROW(file >> text, Overreading *);
        EXPECT_EQ(text, V_String(held, '\0'));
    }
    V_MemoryFile negative = over("\x0D\x14\xFF");
    V_String text = "old";
    negative >> text;
    EXPECT_EQ(text, "");
    // Without tags a tag is read as data: this is the int 20 that a tagged reader takes for 0.
    V_MemoryFile untagged;
    untagged.disableTags();
    untagged << 20;
    untagged.enableTags(true);
    untagged.toRead();
    int number = 7;
    untagged >> number;
    EXPECT_EQ(number, 0);
}

TEST_F(TaggedValues, LetClientsAddTypesOfTheirOwn) {
    constexpr auto clientTag = static_cast<V_MemoryFile::BasicType>(28);
    struct Pair {
        std::uint8_t bytes[100];
    };
    struct ClientFile : V_MemoryFile {
        void put(const Pair &pair) { writeTagged(clientTag, &pair, sizeof pair); }
        void get(Pair &pair) { readTagged(clientTag, &pair, sizeof pair); }
    } file;
    Pair pair{{1, 2, 3}}, back{};
    file.put(pair);
    EXPECT_EQ(file.getSize(), 101u);
    file.toRead();
    file.get(back);
    EXPECT_EQ(std::memcmp(&pair, &back, sizeof pair), 0);
    file.toRead();
    EXPECT_THROW(
        {
            char c;
            file >> c;
        },
        DataError *);
}
