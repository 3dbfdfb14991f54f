// What the tool sends to the agent: the request templates, request ids and reply waits.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>

namespace tarn {

// Method key -> request text, sent byte for byte.
const std::map<std::wstring, std::string>& SdkRequestTemplates();

// The namespace of a method key: everything before its last ".", or the whole key.
std::wstring MethodNamespace(const std::wstring& methodKey);

// A GUID as the request id: "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x".
std::string FormatRequestId(uint32_t data1, uint16_t data2, uint16_t data3,
                            const uint8_t (&data4)[8]);

// How long the session waits for a reply when no explicit time-out is set: the reply time-out
// of the command's row (the word's letter case ignored), 10 s for any other name.
std::chrono::seconds ReplyTimeoutFor(const std::wstring& commandName);

}  // namespace tarn
