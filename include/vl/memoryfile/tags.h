// The tags of memory files, said once: whatever in the library or the tool has to know all of them is made
// from this list. Included by vl/memoryfile.h.
#pragma once

/// For each tag, in the order of their bytes, one of three macros of the caller:
///
///   PLAIN(tag, byte, name, Type, UNIT, COUNT)  a value stored as COUNT numbers of UNIT bytes each
///   FORM(tag, byte, name, Type)                the form of a value, or one of its forms; the operators of
///                                              Type say what follows (vl/memoryfile/operators.h)
///   OTHER(tag, byte)                           no value
///
/// `name` is what tools call the type. The bytes 28 to 37 are free for types of clients.
#define VL_MEMORY_FILE_TAGS(PLAIN, FORM, OTHER)                                                              \
    FORM(BT_LONG, 0, "long", long)                                                                           \
    FORM(BT_ULONG, 1, "unsigned long", unsigned long)                                                        \
    FORM(BT_INT, 2, "int", int)                                                                              \
    FORM(BT_UINT, 3, "unsigned int", unsigned int)                                                           \
    PLAIN(BT_SHORT, 4, "short", short, 2, 1)                                                                 \
    PLAIN(BT_USHORT, 5, "unsigned short", unsigned short, 2, 1)                                              \
    PLAIN(BT_CHAR, 6, "char", char, 1, 1)                                                                    \
    PLAIN(BT_SCHAR, 7, "signed char", signed char, 1, 1)                                                     \
    PLAIN(BT_UCHAR, 8, "unsigned char", unsigned char, 1, 1)                                                 \
    PLAIN(BT_FLOAT, 9, "float", float, 4, 1)                                                                 \
    PLAIN(BT_DOUBLE, 10, "double", double, 8, 1)                                                             \
    OTHER(BT_LEGACY_STRING, 11) /* neither written nor read */                                               \
    OTHER(BT_CHUNK, 12)                                                                                      \
    FORM(BT_STRING, 13, "string", V_String)                                                                  \
    FORM(BT_BOOL, 14, "bool", bool)                                                                          \
    FORM(BT_UINT24, 15, "unsigned int", unsigned int)                                                        \
    FORM(BT_UINT16, 16, "unsigned int", unsigned int)                                                        \
    FORM(BT_UINT8, 17, "unsigned int", unsigned int)                                                         \
    FORM(BT_INT24, 18, "int", int)                                                                           \
    FORM(BT_INT16, 19, "int", int)                                                                           \
    FORM(BT_INT8, 20, "int", int)                                                                            \
    PLAIN(BT_VECTOR2, 21, "vector2", M_Vector2Template<float>, 4, 2)                                         \
    PLAIN(BT_VECTOR3, 22, "vector3", M_Vector3Template<float>, 4, 3)                                         \
    PLAIN(BT_VECTOR4, 23, "vector4", M_Vector4Template<float>, 4, 4)                                         \
    PLAIN(BT_MATRIX2, 24, "matrix2", M_Matrix2Template<float>, 4, 4)                                         \
    PLAIN(BT_MATRIX3, 25, "matrix3", M_Matrix3Template<float>, 4, 9)                                         \
    PLAIN(BT_MATRIX4X3, 26, "matrix4x3", M_Matrix4x3Template<float>, 4, 12)                                  \
    PLAIN(BT_MATRIX4, 27, "matrix4", M_Matrix4Template<float>, 4, 16)                                        \
    PLAIN(BT_FLOAT16, 38, "float16", M_Float16, 2, 1)
