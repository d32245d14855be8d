// Reading and writing a buffer a value at a time.

#include "flutter/byte_streams.h"

#include <gtest/gtest.h>

#include "client_wrapper/byte_buffer_streams.h"
#include "message_bytes.h"
#include "vtable_slot.h"

namespace client_wrapper_test {
namespace {

using namespace flutter;

class ByteBufferStreamReaderTest : public ::testing::Test {
 protected:
  ByteBufferStreamReader Over(Bytes bytes) {
    bytes_ = std::move(bytes);
    return ByteBufferStreamReader(bytes_.data(), bytes_.size());
  }

 private:
  Bytes bytes_;
};

TEST(ByteStreamReaderTest, VirtualOperationsFollowTheDestructorInOrder) {
  static_assert(std::has_virtual_destructor_v<ByteStreamReader>);
  EXPECT_EQ(VtableSlot(&ByteStreamReader::ReadByte), 2u);
  EXPECT_EQ(VtableSlot(&ByteStreamReader::ReadBytes), 3u);
  EXPECT_EQ(VtableSlot(&ByteStreamReader::ReadAlignment), 4u);
}

TEST(ByteStreamWriterTest, VirtualOperationsFollowTheDestructorInOrder) {
  static_assert(std::has_virtual_destructor_v<ByteStreamWriter>);
  EXPECT_EQ(VtableSlot(&ByteStreamWriter::WriteByte), 2u);
  EXPECT_EQ(VtableSlot(&ByteStreamWriter::WriteBytes), 3u);
  EXPECT_EQ(VtableSlot(&ByteStreamWriter::WriteAlignment), 4u);
}

TEST_F(ByteBufferStreamReaderTest, ReadByteAdvances) {
  ByteBufferStreamReader reader = Over({7, 8});
  EXPECT_EQ(reader.ReadByte(), 7);
  EXPECT_EQ(reader.ReadByte(), 8);
}

TEST_F(ByteBufferStreamReaderTest, ReadByteAtTheEndReportsAndGivesZeroEachTime) {
  ByteBufferStreamReader reader = Over({7});
  reader.ReadByte();
  uint8_t first = 1;
  uint8_t second = 1;
  EXPECT_EQ(StderrOf([&] { first = reader.ReadByte(), second = reader.ReadByte(); }), RepeatLine(2, kInvalidRead));
  EXPECT_EQ(first, 0);
  EXPECT_EQ(second, 0);
}

TEST_F(ByteBufferStreamReaderTest, NoBytesAtAllReadAsTheEnd) {
  ByteBufferStreamReader reader(nullptr, 0);
  uint8_t byte = 1;
  EXPECT_EQ(StderrOf([&] { byte = reader.ReadByte(); }), kInvalidRead);
  EXPECT_EQ(byte, 0);
  EXPECT_EQ(StderrOf([&] { reader.ReadBytes(nullptr, 0); }), "");
}

TEST_F(ByteBufferStreamReaderTest, ReadBytesTakesUpToTheLastByte) {
  ByteBufferStreamReader reader = Over({1, 2, 3});
  Bytes read(3);
  EXPECT_EQ(StderrOf([&] { reader.ReadBytes(read.data(), 3); }), "");
  EXPECT_EQ(read, (Bytes{1, 2, 3}));
}

TEST_F(ByteBufferStreamReaderTest, ReadBytesPastTheEndReportsCopiesNothingAndStays) {
  ByteBufferStreamReader reader = Over({1, 2, 3});
  reader.ReadByte();
  Bytes read = {99, 99, 99};
  EXPECT_EQ(StderrOf([&] { reader.ReadBytes(read.data(), 3); }), kInvalidRead);
  EXPECT_EQ(read, (Bytes{99, 99, 99}));
  EXPECT_EQ(reader.ReadByte(), 2);
}

TEST_F(ByteBufferStreamReaderTest, ReadBytesOfALengthThatWrapsReportsAndStays) {
  ByteBufferStreamReader reader = Over({1, 2});
  reader.ReadByte();
  uint8_t byte = 0;
  EXPECT_EQ(StderrOf([&] { reader.ReadBytes(&byte, SIZE_MAX); }), kInvalidRead);
  EXPECT_EQ(reader.ReadByte(), 2);
}

TEST_F(ByteBufferStreamReaderTest, ReadAlignmentMovesToTheNextMultiple) {
  ByteBufferStreamReader reader = Over({0, 1, 2, 3, 4, 5, 6, 7, 8});
  reader.ReadByte();
  reader.ReadAlignment(4);
  EXPECT_EQ(reader.ReadByte(), 4);
  reader.ReadAlignment(8);
  EXPECT_EQ(reader.ReadByte(), 8);
}

TEST_F(ByteBufferStreamReaderTest, ReadAlignmentOnAMultipleStays) {
  ByteBufferStreamReader reader = Over({0, 1, 2, 3, 4});
  reader.ReadAlignment(4);
  EXPECT_EQ(reader.ReadByte(), 0);
  reader.ReadAlignment(1);
  EXPECT_EQ(reader.ReadByte(), 1);
}

TEST_F(ByteBufferStreamReaderTest, ReadsAfterAnAlignmentPastTheEndReport) {
  ByteBufferStreamReader reader = Over({0, 1});
  reader.ReadByte();
  EXPECT_EQ(StderrOf([&] { reader.ReadAlignment(8); }), "");
  uint8_t byte = 1;
  EXPECT_EQ(StderrOf([&] { byte = reader.ReadByte(); }), kInvalidRead);
  EXPECT_EQ(byte, 0);
  EXPECT_EQ(StderrOf([&] { reader.ReadBytes(&byte, 1); }), kInvalidRead);
  EXPECT_EQ(StderrOf([&] { reader.ReadBytes(&byte, 0); }), kInvalidRead);
  EXPECT_EQ(reader.BytesLeft(), 0u);
}

TEST_F(ByteBufferStreamReaderTest, BytesLeftShrinkWithTheReads) {
  ByteBufferStreamReader reader = Over({0, 1, 2, 3, 4});
  EXPECT_EQ(reader.BytesLeft(), 5u);
  reader.ReadByte();
  reader.ReadAlignment(4);
  EXPECT_EQ(reader.BytesLeft(), 1u);
  reader.ReadByte();
  EXPECT_EQ(reader.BytesLeft(), 0u);
}

TEST_F(ByteBufferStreamReaderTest, NumbersAreLittleEndian) {
  ByteBufferStreamReader reader = Over({0x04, 0x03, 0x02, 0x01,                            // int32
                                        0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0x81,    // int64
                                        0,    0,    0,    0,    0,    0,    0x04, 0xC0});  // double
  EXPECT_EQ(reader.ReadInt32(), 0x01020304);
  EXPECT_EQ(reader.ReadInt64(), static_cast<int64_t>(0x8102030405060708));
  EXPECT_EQ(reader.ReadDouble(), -2.5);
}

TEST_F(ByteBufferStreamReaderTest, NumbersCutShortReportAndGiveZero) {
  ByteBufferStreamReader reader = Over({1, 2, 3});
  int32_t int32 = 1;
  int64_t int64 = 1;
  double real = 1;
  EXPECT_EQ(StderrOf([&] {
              int32 = reader.ReadInt32();
              int64 = reader.ReadInt64();
              real = reader.ReadDouble();
            }),
            RepeatLine(3, kInvalidRead));
  EXPECT_EQ(int32, 0);
  EXPECT_EQ(int64, 0);
  EXPECT_EQ(real, 0);
}

TEST(ByteBufferStreamWriterTest, BytesAreAppendedToWhatTheCallerHas) {
  Bytes bytes = {9};
  ByteBufferStreamWriter writer(&bytes);
  writer.WriteByte(1);
  const Bytes range = {2, 3};
  writer.WriteBytes(range.data(), range.size());
  writer.WriteBytes(nullptr, 0);
  EXPECT_EQ(bytes, (Bytes{9, 1, 2, 3}));
}

TEST(ByteBufferStreamWriterTest, AlignmentAppendsZerosUpToTheNextMultiple) {
  Bytes bytes;
  ByteBufferStreamWriter writer(&bytes);
  writer.WriteAlignment(8);
  EXPECT_EQ(bytes, Bytes{});
  writer.WriteByte(1);
  writer.WriteAlignment(4);
  EXPECT_EQ(bytes, (Bytes{1, 0, 0, 0}));
  writer.WriteAlignment(4);
  EXPECT_EQ(bytes, (Bytes{1, 0, 0, 0}));
  writer.WriteAlignment(8);
  EXPECT_EQ(bytes, (Bytes{1, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(ByteBufferStreamWriterTest, NumbersAreLittleEndian) {
  Bytes bytes;
  ByteBufferStreamWriter writer(&bytes);
  writer.WriteInt32(0x01020304);
  EXPECT_EQ(bytes, (Bytes{0x04, 0x03, 0x02, 0x01}));
  bytes.clear();
  writer.WriteInt64(-2);
  EXPECT_EQ(bytes, (Bytes{0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}));
  bytes.clear();
  writer.WriteDouble(-2.5);
  EXPECT_EQ(bytes, (Bytes{0, 0, 0, 0, 0, 0, 0x04, 0xC0}));
}

}  // namespace
}  // namespace client_wrapper_test
