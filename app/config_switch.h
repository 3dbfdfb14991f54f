// The logging switch: "configfile.txt" beside the program turns the log on with the exact line
// Logging=true (no blanks, case as shown). Other lines are ignored.
#pragma once

#include <string>
#include <string_view>

namespace tarn {

class Logger;

// True for a line whose key before the first "=" is exactly "Logging" and whose value after it
// is exactly "true".
bool IsLoggingSwitchLine(std::wstring_view line);

// Reads the configuration file; on a switch line creates the logger in `programDirectory` and
// stores it in `logHandle`. An unreadable or empty file leaves logging off; nothing is reported.
void SwitchLogging(const std::wstring& configPath, const std::wstring& programDirectory,
                   Logger*& logHandle);

}  // namespace tarn
