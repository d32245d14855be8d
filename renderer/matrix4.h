#ifndef RENDERER_MATRIX4_H_
#define RENDERER_MATRIX4_H_

#include <array>
#include <cstddef>

/// A 4 x 4 matrix of floats, column-major: row r, column c is `m[c * 4 + r]`, the translation of an affine matrix
/// is m[12], m[13], m[14]. Vectors are columns: in A * B a vertex meets B first. OpenGL takes it as it lies.
struct Matrix4 {
  std::array<float, 16> m = {};

  float& at(size_t row, size_t column) { return m[column * 4 + row]; }
  float at(size_t row, size_t column) const { return m[column * 4 + row]; }
};

inline Matrix4 operator*(const Matrix4& a, const Matrix4& b) {
  Matrix4 product;
  for (size_t column = 0; column < 4; ++column) {
    for (size_t row = 0; row < 4; ++row) {
      float sum = 0.0f;
      for (size_t k = 0; k < 4; ++k) sum += a.at(row, k) * b.at(k, column);
      product.at(row, column) = sum;
    }
  }
  return product;
}

#endif  // RENDERER_MATRIX4_H_
