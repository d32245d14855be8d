#include "model_tool/gltf_accessor.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "model_tool/tool_error.h"

namespace model_tool {

namespace {

// Elements as they lie in a view.
struct Elements {
  const uint8_t* data = nullptr;  // null: all zero
  uint64_t count = 0;
  uint64_t stride = 0;
  int component_type = 0;
  size_t components = 0;
  bool normalized = false;
};

std::string NameOf(int accessor) { return "accessors[" + std::to_string(accessor) + "]"; }

size_t ComponentSize(int component_type) {
  const int32_t size = tinygltf::GetComponentSizeInBytes(static_cast<uint32_t>(component_type));
  return size > 0 ? static_cast<size_t>(size) : 0;
}

// Throws where the elements do not lie in the view. All numbers are 64 bits and none is added or multiplied before it
// is known to be small.
void Place(const GltfFile& file, int view, uint64_t offset, const std::string& name, Elements& elements) {
  const uint64_t element_size = ComponentSize(elements.component_type) * elements.components;
  if (element_size == 0) throw ToolError(name + " has an unknown componentType");
  if (elements.stride == 0) elements.stride = element_size;
  const ByteRange range = ViewBytes(file, view);
  const bool inside =
      elements.count == 0 || (offset <= range.size && element_size <= range.size - offset &&
                              elements.count - 1 <= (range.size - offset - element_size) / elements.stride);
  if (!inside) {
    throw ToolError(name + " reaches outside bufferViews[" + std::to_string(view) +
                    "]: " + std::to_string(elements.count) + " elements from byte " + std::to_string(offset) + " of " +
                    std::to_string(range.size));
  }
  elements.data = range.data + (elements.count == 0 ? 0 : offset);
}

const tinygltf::Accessor& Get(const GltfFile& file, int accessor) {
  if (accessor < 0 || static_cast<size_t>(accessor) >= file.model.accessors.size()) {
    throw ToolError("there is no " + NameOf(accessor));
  }
  return file.model.accessors[static_cast<size_t>(accessor)];
}

uint64_t StrideOf(const GltfFile& file, int view) {
  return view >= 0 && static_cast<size_t>(view) < file.model.bufferViews.size()
             ? file.model.bufferViews[static_cast<size_t>(view)].byteStride
             : 0;
}

Elements Find(const GltfFile& file, int accessor) {
  const tinygltf::Accessor& description = Get(file, accessor);
  Elements elements;
  elements.count = description.count;
  elements.component_type = description.componentType;
  const int32_t components = tinygltf::GetNumComponentsInType(static_cast<uint32_t>(description.type));
  elements.components = components > 0 ? static_cast<size_t>(components) : 0;
  elements.normalized = description.normalized;
  if (description.bufferView >= 0) {
    elements.stride = StrideOf(file, description.bufferView);
    Place(file, description.bufferView, description.byteOffset, NameOf(accessor), elements);
    return elements;
  }
  // Nothing in the file bounds what need not be there.
  constexpr uint64_t kMost = 50'000'000;
  if (elements.count > kMost) throw ToolError(NameOf(accessor) + " has more elements than data");
  return elements;
}

template <typename Stored>
Stored Load(const uint8_t* source) {
  Stored value;
  std::memcpy(&value, source, sizeof value);
  return value;
}

template <typename Stored>
double AsNumber(const uint8_t* source, bool normalized) {
  const auto value = static_cast<double>(Load<Stored>(source));
  if (!normalized) return value;
  return std::max(-1.0, value / static_cast<double>(std::numeric_limits<Stored>::max()));
}

double Component(const Elements& elements, const uint8_t* source) {
  switch (elements.component_type) {
    case TINYGLTF_COMPONENT_TYPE_BYTE: return AsNumber<int8_t>(source, elements.normalized);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE: return AsNumber<uint8_t>(source, elements.normalized);
    case TINYGLTF_COMPONENT_TYPE_SHORT: return AsNumber<int16_t>(source, elements.normalized);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT: return AsNumber<uint16_t>(source, elements.normalized);
    case TINYGLTF_COMPONENT_TYPE_INT: return AsNumber<int32_t>(source, elements.normalized);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT: return AsNumber<uint32_t>(source, elements.normalized);
    case TINYGLTF_COMPONENT_TYPE_FLOAT: return static_cast<double>(Load<float>(source));
    default: return Load<double>(source);
  }
}

// Calls function(element, component, number) for each number that is there.
template <typename Function>
void ForEachNumber(const Elements& elements, size_t components, const Function& function) {
  if (elements.data == nullptr) return;
  const size_t size = ComponentSize(elements.component_type);
  const size_t shared = std::min(components, elements.components);
  for (uint64_t i = 0; i < elements.count; ++i) {
    const uint8_t* source = elements.data + i * elements.stride;
    for (size_t c = 0; c < shared; ++c) function(i, c, Component(elements, source + c * size));
  }
}

// The elements of a sparse accessor that are other than its view has them: their numbers, and their data.
struct Changes {
  std::vector<uint32_t> where;
  Elements values;
};

Changes ReadChanges(const GltfFile& file, int accessor) {
  const tinygltf::Accessor& description = Get(file, accessor);
  if (!description.sparse.isSparse) return {};
  const auto& sparse = description.sparse;
  if (sparse.count < 0 || sparse.indices.byteOffset < 0 || sparse.values.byteOffset < 0) {
    throw ToolError(NameOf(accessor) + " has broken sparse data");
  }
  Elements where;
  where.count = static_cast<uint64_t>(sparse.count);
  where.component_type = sparse.indices.componentType;
  where.components = 1;
  Place(file, sparse.indices.bufferView, static_cast<uint64_t>(sparse.indices.byteOffset), NameOf(accessor), where);
  Changes changes;
  changes.values = Find(file, accessor);
  changes.values.count = where.count;
  changes.values.stride = 0;
  Place(file, sparse.values.bufferView, static_cast<uint64_t>(sparse.values.byteOffset), NameOf(accessor),
        changes.values);
  changes.where.resize(where.count);
  ForEachNumber(where, 1, [&](uint64_t i, size_t, double number) {
    if (!(number >= 0 && number < static_cast<double>(description.count))) {
      throw ToolError(NameOf(accessor) + " has sparse data for an element that does not exist");
    }
    changes.where[i] = static_cast<uint32_t>(number);
  });
  return changes;
}

template <typename Function>
void ForEachNumberOf(const GltfFile& file, int accessor, size_t components, const Function& function) {
  ForEachNumber(Find(file, accessor), components, function);
  const Changes changes = ReadChanges(file, accessor);
  ForEachNumber(changes.values, components,
                [&](uint64_t i, size_t c, double number) { function(changes.where[i], c, number); });
}

}  // namespace

size_t ElementCount(const GltfFile& file, int accessor) { return Get(file, accessor).count; }

std::vector<float> ReadFloats(const GltfFile& file, int accessor, size_t components, float fill) {
  const Elements elements = Find(file, accessor);
  std::vector<float> numbers(elements.count * components, 0.0f);
  for (uint64_t i = 0; i < elements.count; ++i) {
    for (size_t c = elements.components; c < components; ++c) numbers[i * components + c] = fill;
  }
  ForEachNumberOf(file, accessor, components, [&](uint64_t i, size_t c, double number) {
    numbers[i * components + c] = static_cast<float>(number);
  });
  return numbers;
}

std::vector<uint32_t> ReadIntegers(const GltfFile& file, int accessor, size_t components) {
  std::vector<uint32_t> numbers(Find(file, accessor).count * components);
  ForEachNumberOf(file, accessor, components, [&](uint64_t i, size_t c, double number) {
    if (!(number >= 0 && number <= 4294967295.0)) throw ToolError(NameOf(accessor) + " has a broken number");
    numbers[i * components + c] = static_cast<uint32_t>(number);
  });
  return numbers;
}

}  // namespace model_tool
