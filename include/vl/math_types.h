// Plain definitions of the engine's seven math types, for programs without the engine: blocks of floats and
// nothing more. Opt-in, no other header of the library includes it. A program that has the engine's own
// definitions must not include it as well; the compiler reports the types as defined twice.
#pragma once

#include "vl/math.h"

/// A vector of two.
template <class T>
class M_Vector2Template {
  public:
    /// Components.
    T x;
    T y;
};

/// A vector of three.
template <class T>
class M_Vector3Template {
  public:
    /// Components.
    T x;
    T y;
    T z;
};

/// A vector of four.
template <class T>
class M_Vector4Template {
  public:
    /// Components.
    T x;
    T y;
    T z;
    T w;
};

/// Two rows of two; matrices are stored row after row.
template <class T>
class M_Matrix2Template {
  public:
    T m[2][2]; ///< by row and column
};

/// Three rows of three.
template <class T>
class M_Matrix3Template {
  public:
    T m[3][3]; ///< by row and column
};

/// Four rows of three.
template <class T>
class M_Matrix4x3Template {
  public:
    T m[4][3]; ///< by row and column
};

/// Four rows of four.
template <class T>
class M_Matrix4Template {
  public:
    T m[4][4]; ///< by row and column
};

static_assert(sizeof(M_Vector2Template<float>) == 2 * sizeof(float) &&
                  sizeof(M_Vector3Template<float>) == 3 * sizeof(float) &&
                  sizeof(M_Vector4Template<float>) == 4 * sizeof(float) &&
                  sizeof(M_Matrix2Template<float>) == 4 * sizeof(float) &&
                  sizeof(M_Matrix3Template<float>) == 9 * sizeof(float) &&
                  sizeof(M_Matrix4x3Template<float>) == 12 * sizeof(float) &&
                  sizeof(M_Matrix4Template<float>) == 16 * sizeof(float),
              "the library reads these types as blocks of floats without gaps");
