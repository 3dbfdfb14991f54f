#include "ops/feature_editing.h"

#include <algorithm>
#include <set>

#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"

namespace tarn {
namespace {

struct OperationWord {
  const wchar_t* word;  // lower case
  std::vector<std::wstring> FeatureEdit::*list;
  const wchar_t* invalid;
};

const OperationWord kOperationWords[] = {
    {L"-add", &FeatureEdit::add, L"Arguments for add features operation are invalid"},
    {L"-remove", &FeatureEdit::remove, L"Arguments for remove features operation are invalid"},
    {L"-set", &FeatureEdit::set, L"Arguments for set features operation are invalid"},
};

const OperationWord* FindOperationWord(const std::wstring& argument) {
  const std::wstring lower = ToLowerWide(argument);
  for (const auto& operation : kOperationWords) {
    if (lower == operation.word) return &operation;
  }
  return nullptr;
}

void AppendQuotedIds(std::wstring& text, const std::vector<std::wstring>& ids) {
  for (size_t index = 0; index < ids.size(); ++index) {
    if (index != 0) text += L", ";
    text += L'"' + ids[index] + L'"';  // the ids hold nothing that needs escaping
  }
}

bool Contains(const std::vector<std::wstring>& ids, const std::wstring& id) {
  return std::find(ids.begin(), ids.end(), id) != ids.end();
}

uint32_t RunRequest(const FeatureRequestRunner& run, const std::vector<std::wstring>& add,
                    const std::vector<std::wstring>& remove, const wchar_t* running, Logger* log) {
  const std::wstring request = BuildAddRemoveRequest(add, remove);
  WriteLog(log, running);
  const uint32_t code = run(request, log);
  return code != 0 ? LogFailure(log, L"Failed to execute method. Error code: ", code) : 0;
}

}  // namespace

uint32_t ParseFeatureArguments(const std::vector<std::wstring>& arguments, FeatureEdit& edit,
                               Logger* log) {
  // Each id may be named once in the whole command line: the walk takes it out of this set.
  std::set<std::wstring> unused(kFeatureIds.begin(), kFeatureIds.end());
  std::vector<std::wstring> pending;
  // Backwards, so each operation word claims the ids that follow it.
  for (size_t index = arguments.size(); index-- > 2;) {
    const std::wstring& argument = arguments[index];
    if (const OperationWord* operation = FindOperationWord(argument)) {
      std::vector<std::wstring>& list = edit.*operation->list;
      if (!list.empty() || pending.empty()) {
        WriteLog(log, operation->invalid);
        return kErrorBadArguments;
      }
      list = std::move(pending);
      pending.clear();
      continue;
    }
    if (unused.erase(argument) == 0) {
      WriteLog(log, L"Feature \"" + argument + L"\" doesn't exists or has already been added");
      return kErrorBadArguments;
    }
    pending.push_back(argument);
  }
  if (!pending.empty()) {  // ids before the first operation word
    WriteLog(log, L"The feature argument list is invalid");
    return kErrorBadArguments;
  }
  return 0;
}

std::wstring BuildAddRemoveRequest(const std::vector<std::wstring>& add,
                                   const std::vector<std::wstring>& remove) {
  std::wstring text =
      L"{ \"type\":\"oxsdk\", \"data\":{ \"Product.Installer\":[ { \"@name\": \"AddRemove\", "
      L"\"input\":{ \"features\":{ \"add\":[ ";
  AppendQuotedIds(text, add);
  text += L" ], \"remove\":[ ";
  AppendQuotedIds(text, remove);
  // Changing features must never remove other security products on the side.
  text += L" ] }, \"competitorRemoval\" : { \"execute\" : \"never\" } } } ] } }";
  return text;
}

uint32_t AddRemoveFeatures(const FeatureRequestRunner& run, const std::vector<std::wstring>& add,
                           const std::vector<std::wstring>& remove, Logger* log) {
  WriteLog(log, L"Execute Add/Remove TARN features method");
  for (auto it = add.begin(); it != add.end(); ++it) {
    if (std::find(it + 1, add.end(), *it) != add.end()) return kErrorBadArguments;
  }
  for (const auto& id : remove) {
    if (Contains(add, id)) return kErrorBadArguments;
  }
  const uint32_t code =
      RunRequest(run, add, remove, L"Execute Add/Remove TARN features command", log);
  WriteLog(log, L"Finished to Modify Features with error code: " + std::to_wstring(code));
  return code;
}

uint32_t SetFeatures(const FeatureRequestRunner& run, const std::vector<std::wstring>& set,
                     Logger* log) {
  WriteLog(log, L"Execute TARN Set Features method");
  // The complete wanted state: the agent ends with exactly the named features.
  std::vector<std::wstring> add, remove;
  for (const wchar_t* id : kFeatureIds) {
    (Contains(set, id) ? add : remove).push_back(id);
  }
  const uint32_t code = RunRequest(run, add, remove, L"Execute Set TARN features command", log);
  WriteLog(log, L"Finished to TARN Set Features with error code: " + std::to_wstring(code));
  return code;
}

uint32_t EditFeatures(const FeatureRequestRunner& run, const std::vector<std::wstring>& arguments,
                      Logger* log) {
  WriteLog(log, L"TARNEditFeatures parse arguments");
  FeatureEdit edit;
  if (const uint32_t code = ParseFeatureArguments(arguments, edit, log); code != 0) return code;

  uint32_t code = 0;
  if (!edit.add.empty() || !edit.remove.empty()) {
    if (!edit.set.empty()) {
      WriteLog(log,
               L"The add/remove feature operation cannot be performed due to invalid parameters");
      return kErrorBadArguments;
    }
    code = AddRemoveFeatures(run, edit.add, edit.remove, log);
  } else if (!edit.set.empty()) {
    code = SetFeatures(run, edit.set, log);
  }
  WriteLog(log, L"Finished to edit features with error code: " + std::to_wstring(code));
  return code;
}

}  // namespace tarn
