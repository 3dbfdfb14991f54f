#include "sim/agent/config_file.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "base/text.h"
#include "sim/agent/agent_layout.h"
#include "sim/agent/sim_files.h"

namespace tarn::sim {
namespace {

struct EncodingName {
  ConfigEncoding encoding;
  const wchar_t* name;
};

constexpr EncodingName kEncodingNames[] = {
    {ConfigEncoding::kNoMark, L"none"},
    {ConfigEncoding::kUtf7Mark, L"utf7"},
    {ConfigEncoding::kUtf8Mark, L"utf8"},
    {ConfigEncoding::kUtf16BigEndian, L"utf16be"},
    {ConfigEncoding::kUtf16LittleEndian, L"utf16le"},
    {ConfigEncoding::kUtf32BigEndian, L"utf32be"},
    {ConfigEncoding::kUtf32LittleEndian, L"utf32le"},
};

void AppendUnit(std::string& out, uint32_t unit, int bytes, bool bigEndian) {
  for (int i = 0; i < bytes; ++i) {
    const int shift = 8 * (bigEndian ? bytes - 1 - i : i);
    out += static_cast<char>((unit >> shift) & 0xFF);
  }
}

// Code points of a UTF-16 text; a lone surrogate stands for itself.
std::u32string CodePoints(std::wstring_view text) {
  std::u32string points;
  for (size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
        text[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
    }
    points += c;
  }
  return points;
}

// The JSON text of the file (UTF-8), members in the agent's order.
std::string ConfigJson(const Identity& identity) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  writer.StartObject();
  if (identity.hwid) {
    writer.Key("hwid");
    writer.String(*identity.hwid);
  }
  if (identity.custid) {
    writer.Key("custid");
    writer.String(*identity.custid);
  }
  if (identity.computersFolder) {
    writer.Key("customdata");
    writer.StartObject();
    writer.Key("ComputersFolder");
    writer.String(*identity.computersFolder);
    writer.EndObject();
  }
  writer.EndObject();
  return std::string(buffer.GetString(), buffer.GetSize());
}

// The mark of `encoding` followed by the UTF-8 text `utf8` re-encoded.
std::string EncodeText(std::string_view utf8, ConfigEncoding encoding) {
  switch (encoding) {
    case ConfigEncoding::kNoMark:
      return std::string(utf8);
    case ConfigEncoding::kUtf7Mark:
      return "+/v8-" + std::string(utf8);
    case ConfigEncoding::kUtf8Mark:
      return "\xEF\xBB\xBF" + std::string(utf8);
    case ConfigEncoding::kUtf16BigEndian:
    case ConfigEncoding::kUtf16LittleEndian: {
      const bool big = encoding == ConfigEncoding::kUtf16BigEndian;
      std::string out;
      AppendUnit(out, 0xFEFF, 2, big);
      for (wchar_t unit : Utf8ToWide(utf8)) AppendUnit(out, unit, 2, big);
      return out;
    }
    case ConfigEncoding::kUtf32BigEndian:
    case ConfigEncoding::kUtf32LittleEndian: {
      const bool big = encoding == ConfigEncoding::kUtf32BigEndian;
      std::string out;
      AppendUnit(out, 0xFEFF, 4, big);
      for (char32_t point : CodePoints(Utf8ToWide(utf8))) AppendUnit(out, point, 4, big);
      return out;
    }
  }
  return std::string(utf8);
}

}  // namespace

// The same endpoint and company the scenarios' Kivoro identity names.
Identity DefaultIdentity() {
  return {"0F3A9C2E-5B7D-4E11-8A6C-2D9B4F1E7A30", "C-000451", "Workstations"};
}

bool ParseEncoding(const std::wstring& word, ConfigEncoding* encoding) {
  for (const auto& entry : kEncodingNames) {
    if (EqualsIgnoreCase(word, entry.name) ||
        word == std::to_wstring(static_cast<uint32_t>(entry.encoding))) {
      *encoding = entry.encoding;
      return true;
    }
  }
  return false;
}

std::filesystem::path ConfigFilePath(ConfigLayout layout) {
  return layout == ConfigLayout::kCurrent ? AgentDirectory() / L"oxagng" / L"oxagng.jso"
                                          : AgentDirectory() / L"oxag" / L"oxag.jso";
}

uint32_t WriteAgentConfig(ConfigLayout layout, ConfigEncoding encoding, const Identity& identity) {
  return WriteFileBytes(ConfigFilePath(layout), EncodeText(ConfigJson(identity), encoding));
}

}  // namespace tarn::sim
