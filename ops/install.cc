#include "ops/install.h"

#include "auth/module_signature.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"
#include "ops/detect.h"
#include "ops/installer_xml.h"

namespace tarn {
namespace {

bool IsFile(uint32_t attributes) {
  return attributes != kInvalidFileAttributes && (attributes & kFileAttributeDirectory) == 0;
}

bool AgentFound(const std::string& detected) {
  return detected.rfind("1|", 0) == 0 || detected.rfind("2|", 0) == 0;
}

// Holds the program, proves it is the maker's and runs it, so that nothing can swap the file
// between the check and the start. A hold that fails because someone has the file open for
// writing or deleting refuses the run; any other hold failure leaves the answer to the check.
/// Returns 0 with the program's result in `exitCode`, or the code that refused the run.
[[nodiscard]] uint32_t RunMakersProgram(const LifecycleSystem& system, const std::wstring& path,
                                        const std::wstring& commandLine, uint32_t& exitCode,
                                        Logger* log) {
  FileHold hold;
  if (const uint32_t code = system.holdFileForUse(path, hold); IsHoldConflict(code)) {
    return LogFailure(log, L"Cannot hold the installer against changes. Error code: ", code);
  }
  bool isValid = false;
  if (const uint32_t code = system.validateModuleSignature(isValid, path, kMakerSigner, log);
      code != 0) {
    return LogFailure(log, L"Failed to validate binary. Error code : ", code);
  }
  if (!isValid) {
    WriteLog(log, L"Binary is not valid");
    return kErrorNotValidlySigned;
  }
  WriteLog(log, L"Binary is valid");
  exitCode = system.runProcess(path, commandLine);
  return 0;
}

/// 0, or the failing edit's code (the file is then as it was).
[[nodiscard]] uint32_t EditInstallerXml(const InstallRequest& request, Logger* log) {
  if (request.resumeAfterReboot) {
    WriteLog(log, L"Install with resume after reboot");
    if (const uint32_t code = UpdateXmlNode(request.xmlPath, kResumeAfterRebootNode, "1", log);
        code != 0) {
      return LogFailure(log, L"Failed to install with resume after reboot. Error code: ", code);
    }
  }
  if (request.coreInstall) {
    WriteLog(log, L"Core install product");
    if (const uint32_t code = SetFeatureActions(request.xmlPath, log); code != 0) {
      return LogFailure(log, L"Core install failed. Error code: ", code);
    }
  }
  return 0;
}

// The folder of `path` (empty when it names none) and `name` in it.
std::wstring FolderOf(const std::wstring& path) {
  const size_t separator = path.find_last_of(L"\\/");
  return separator == std::wstring::npos ? std::wstring() : path.substr(0, separator);
}
std::wstring InFolder(const std::wstring& folder, const wchar_t* name) {
  return folder.empty() ? std::wstring(name) : folder + L"\\" + name;
}

/// 0, or the move's Win32 code (nothing moved).
[[nodiscard]] uint32_t MoveInto(const LifecycleSystem& system, const std::wstring& from,
                                const std::wstring& to, const wchar_t* moving,
                                const wchar_t* failed, Logger* log) {
  WriteLog(log, moving + to);
  // A file that already has its place and name stays where it is.
  if (EqualsIgnoreCase(from, to)) return 0;
  if (const uint32_t code = system.moveFile(from, to); code != 0) {
    return LogFailure(log, failed, code);
  }
  return 0;
}

}  // namespace

uint32_t RunInstaller(const LifecycleSystem& system, const std::wstring& installerPath,
                      const std::wstring& xmlPath, std::string& answer, Logger* log) {
  WriteLog(log, L"Starting TARN Detect");
  std::string detected;
  if (Detect(system, false, detected, log) != 0 && AgentFound(detected)) {
    WriteLog(log, L"TARN Already exists");
    return kResultAlreadyInstalled;
  }

  WriteLog(log, L"Get installer path attributes");
  if (const uint32_t attributes = system.fileAttributes(installerPath); !IsFile(attributes)) {
    WriteLog(log, L"Invalid file attributes or Installer is a directory");
    return attributes;
  }
  std::wstring parameters;
  if (!xmlPath.empty()) {
    WriteLog(log, L"Get configuration file attributes");
    if (const uint32_t attributes = system.fileAttributes(xmlPath); !IsFile(attributes)) {
      WriteLog(log, L"Invalid file attributes or Configuration file is a directory");
      return attributes;
    }
    parameters = L" configFile=\"" + xmlPath + L"\"";
  }
  parameters += L" /arparams /silent";
  WriteLog(log, L"Running TARN install process");

  uint32_t exitCode = 0;
  if (const uint32_t code = RunMakersProgram(system, installerPath, parameters, exitCode, log);
      code != 0) {
    return code;
  }
  WriteLog(log, L"TARN install process finished with exit code: " + std::to_wstring(exitCode));
  WriteLog(log, L"Starting final TARN Detect");
  static_cast<void>(Detect(system, false, answer, log));  // its answer is the command's
  return exitCode;
}

uint32_t InstallWithInstaller(const LifecycleSystem& system, const InstallRequest& request,
                              std::string& answer, Logger* log) {
  if (const uint32_t code = EditInstallerXml(request, log); code != 0) return code;
  WriteLog(log, L"Running TARN Install with installer xml: " + request.xmlPath);
  return RunInstaller(system, request.programPath, request.xmlPath, answer, log);
}

uint32_t InstallWithSetupDownloader(const LifecycleSystem& system, const InstallRequest& request,
                                    std::string& answer, Logger* log) {
  if (const uint32_t code = EditInstallerXml(request, log); code != 0) return code;
  WriteLog(log, L"Get setup downloader path");
  const std::wstring folder = FolderOf(request.programPath);
  WriteLog(log, L"Retrieved setup downloader path: " + folder);
  WriteLog(log, L"Get setup downloader name");
  WriteLog(log, L"Retrieved setup downloader name: " +
                    request.programPath.substr(request.programPath.find_last_of(L"\\/") + 1));

  // The setup downloader finds its XML beside itself, under these names.
  const std::wstring setupDownloader = InFolder(folder, L"setupdownloader.exe");
  const std::wstring installerXml = InFolder(folder, L"installer.xml");
  if (const uint32_t code = MoveInto(system, request.programPath, setupDownloader,
                                     L"Move setupdownloader.exe to new path: ",
                                     L"Failed to move setupdownloader.exe with error: ", log);
      code != 0) {
    return code;
  }
  if (!request.xmlPath.empty()) {
    if (const uint32_t code =
            MoveInto(system, request.xmlPath, installerXml, L"Move installer.xml to new path: ",
                     L"Failed to move installer.xml with error: ", log);
        code != 0) {
      return code;
    }
  }
  WriteLog(log,
           L"Running TARN Install with installer xml from the following path: " + installerXml);
  return RunInstaller(system, setupDownloader, L"", answer, log);
}

}  // namespace tarn
