// Tagged values: exact bytes, round trips by every road, and what damage is answered with.

#include "tests/support/library_test.h"
#include "tests/support/memory_file_bytes.h"

#include "vl/math_types.h"
#include "vl/memoryfile.h"

#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <sstream>
#include <type_traits>
#include <utility>

namespace {

std::string hexOf(const V_MemoryFile &file) {
    std::string text;
    char digits[4];
    for (const char byte : bytesOf(file)) {
        std::snprintf(digits, sizeof digits, "%02X", byte & 0xFFu);
        text += digits;
    }
    return text;
}

template <class T>
struct Layout {
    T value;
    std::string tagged, bare;
};

/// Writes each value both ways, at the end and over other bytes, and reads it back.
template <class T>
void expectLayouts(std::initializer_list<Layout<T>> layouts) {
    for (const auto &[value, tagged, bare] : layouts)
        for (bool tags : {true, false}) {
            V_MemoryFile file(1);
            file.enableTags(tags);
            file << value;
            EXPECT_EQ(hexOf(file), tags ? tagged : bare);
            const unsigned int size = file.getSize();
            file << 0;
            file.seek(0, V_MemoryFile::SM_BEGIN);
            file << value;
            EXPECT_EQ(file.getPosition(), size);
            int behind = 1;
            file >> behind;
            EXPECT_EQ(behind, 0) << "overwriting reached beyond the value";
            file.toRead();
            T back{};
            file >> back;
            EXPECT_EQ(back, value);
            EXPECT_EQ(file.getPosition(), size);
        }
}

/// The same for a table of numbers.
template <class T>
void expectNumbers(const char *table) {
    std::istringstream rows(table);
    for (Layout<T> row; rows >> row.value >> row.tagged >> row.bare;)
        expectLayouts<T>({row});
    EXPECT_TRUE(rows.eof());
}

template <class T, class = void>
struct CanBeWritten : std::false_type {};
template <class T>
struct CanBeWritten<T, std::void_t<decltype(std::declval<V_MemoryFile &>() << std::declval<T>())>>
    : std::true_type {};

class TaggedValues : public LibraryTest {};

TEST_F(TaggedValues, LieAsTheFormatSays) {
    expectNumbers<int>(R"(
        0 1400 00000000   5 1405 05000000   -1 14FF FFFFFFFF   127 147F 7F000000
        -127 1481 81FFFFFF   128 138000 80000000   -128 1380FF 80FFFFFF   32767 13FF7F FF7F0000
        -32767 130180 0180FFFF   32768 12008000 00800000   -32768 120080FF 0080FFFF
        8388607 12FFFF7F FFFF7F00   8388608 0200008000 00008000   -8388608 02000080FF 000080FF
        2147483647 02FFFFFF7F FFFFFF7F   -2147483648 0200000080 00000080)");
    expectNumbers<unsigned int>(R"(
        0 1100 00000000   255 11FF FF000000   256 100001 00010000   65535 10FFFF FFFF0000
        65536 0F000001 00000100   16777215 0FFFFFFF FFFFFF00   16777216 0300000001 00000001
        4294967295 03FFFFFFFF FFFFFFFF)");
    expectLayouts<long>({{-2, "00FEFFFFFF", "FEFFFFFF"}, {INT_MAX, "00FFFFFF7F", "FFFFFF7F"}});
    expectLayouts<unsigned long>({{UINT_MAX, "01FFFFFFFF", "FFFFFFFF"}});
    expectLayouts<short>({{-2, "04FEFF", "FEFF"}});
    expectLayouts<unsigned short>({{0xABCD, "05CDAB", "CDAB"}});
    expectLayouts<char>({{'A', "0641", "41"}});
    expectLayouts<signed char>({{-1, "07FF", "FF"}});
    expectLayouts<unsigned char>({{254, "08FE", "FE"}});
    expectLayouts<float>({{1.0f, "090000803F", "0000803F"}});
    expectLayouts<double>({{-2.0, "0A00000000000000C0", "00000000000000C0"}});
    expectLayouts<bool>({{true, "0E01", "01"}, {false, "0E00", "00"}});
    expectLayouts<M_Float16>({{1.0f, "26003C", "003C"}});
    expectLayouts<V_String>({{"", "0D1400", "00000000"}, {"abc", "0D1403616263", "03000000616263"}});
    expectLayouts<V_StringI>({{"aB", "0D14026142", "020000006142"}});
}

TEST_F(TaggedValues, StoreMathTypesAsTheirFloats) {
    const auto check = [](auto value, char tag) {
        float floats[sizeof value / sizeof(float)];
        for (float &f : floats)
            f = static_cast<float>(&f - floats) + 0.5f;
        std::memcpy(&value, floats, sizeof value);
        V_MemoryFile file;
        file << value;
        std::string expected(1, tag);
        for (const float f : floats)
            for (int shift = 0; shift < 32; shift += 8)
                expected += static_cast<char>(std::bit_cast<std::uint32_t>(f) >> shift);
        EXPECT_EQ(bytesOf(file), expected);
        file.toRead();
        decltype(value) back{};
        file >> back;
        EXPECT_EQ(std::memcmp(&back, floats, sizeof floats), 0);
    };
    check(M_Vector2Template<float>(), 21), check(M_Vector3Template<float>(), 22);
    check(M_Vector4Template<float>(), 23), check(M_Matrix2Template<float>(), 24);
    check(M_Matrix3Template<float>(), 25), check(M_Matrix4x3Template<float>(), 26);
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
    EXPECT_THROW(file << static_cast<const char *>(nullptr), Illegal *);
    static_assert(CanBeWritten<const char *>::value && CanBeWritten<bool>::value);
    static_assert(!CanBeWritten<int *>::value && !CanBeWritten<volatile char *>::value);
}

TEST_F(TaggedValues, RefuseALongThatDoesNotFit) {
    if constexpr (sizeof(long) > 4) {
        V_MemoryFile file;
        EXPECT_EQ(messageOf<Illegal>([&] { file << static_cast<long>(std::int64_t{INT_MAX} + 1); }),
                  "V_MemoryFile: Unable to write a long beyond 32 bits to (memoryfile not named yet)");
        EXPECT_THROW(file << static_cast<long>(std::int64_t{INT_MIN} - 1), Illegal *);
        EXPECT_THROW(file << (static_cast<unsigned long>(UINT_MAX) + 1), Illegal *);
        EXPECT_EQ(file.getSize(), 0u);
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
    const std::string bytes = bytesOf(whole);
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        V_MemoryFile file = over(bytes.substr(0, size));
        int number = 7;
        unsigned int natural = 7;
        double real = 7;
        V_String text = "old", longText = "old";
        bool flag = false;
        EXPECT_THROW(file >> number >> natural >> real >> text >> longText >> flag, Overreading *) << size;
        EXPECT_EQ(number, size < 5 ? 0 : INT_MIN);
        EXPECT_EQ(natural, size < 5 ? 7u : size < 10 ? 0u : UINT_MAX);
        EXPECT_EQ(real, size < 19 ? 7 : 1);
        EXPECT_EQ(text, size < 19 ? "old" : size < 28 ? V_String(size < 22 ? 0 : 6, '\0') : "abcdef");
        EXPECT_EQ(longText, size < 28 ? "old" : size < 32 ? "" : V_String(200, size < 232 ? '\0' : 'x'));
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
    struct ClientFile : V_MemoryFile {
        void put(const char (&value)[100]) { writeTagged(clientTag, value, sizeof value); }
        void put() { writeTag(clientTag); }
        void get(char (&value)[100]) { readTagged(clientTag, value, sizeof value); }
    } file;
    char value[100] = "value", back[100] = {}, c = 0;
    file.put(value);
    file.put();
    EXPECT_EQ(bytesOf(file), '\x1C' + std::string(value, sizeof value) + '\x1C');
    file.toRead();
    file.get(back);
    EXPECT_EQ(std::memcmp(value, back, sizeof value), 0);
    file.toRead();
    EXPECT_THROW(file >> c, DataError *);
}

} // namespace
