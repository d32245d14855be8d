#ifndef BENCH_LEAN_EMBEDDER_H_
#define BENCH_LEAN_EMBEDDER_H_

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "flutter/encodable_value.h"

/// As little of an embedder as the plug-in needs, so that what is measured is the plug-in: one plug-in, one channel,
/// one texture. The program that links it has the embedder's C functions.
namespace lean_embedder {

using Bytes = std::vector<uint8_t>;

/// Registers the plug-in.
void Start();
/// Destroys it.
void Stop();

Bytes EncodeCall(const std::string& method, const flutter::EncodableValue& arguments);

/// Delivers a message on the calling thread, which is the platform thread.
void Deliver(const Bytes& message);

/// The answer to the last message; empty when there was none.
const Bytes& Reply();

/// Delivers a command; whether it was answered true, or, for "createTexture", with an identifier.
bool Call(const std::string& method, const flutter::EncodableValue& arguments = flutter::EncodableValue());

/// Asks for a frame of the texture, as the engine's raster thread does.
void FetchFrame();

/// How many frames the plug-in has announced.
extern std::atomic<long> g_frames;

}  // namespace lean_embedder

#endif  // BENCH_LEAN_EMBEDDER_H_
