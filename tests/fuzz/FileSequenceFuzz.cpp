#include <array>
#include <cstdint>
#include <limits>

#include "formats/RVXFileSequence.h"
#include "formats/RVXFrameNameTemplate.h"
#include "tests/fuzz/Expectations.h"
#include "tests/fuzz/FileSequenceModel.h"
#include "tests/fuzz/InputText.h"
#include "tests/support/OutputCapture.h"

// Input: an identifier, a number, a frame name template, as C strings; those that are missing are empty.

namespace {

void expectPartsAsModelled(const RVXFileSequence& sequence, const FileSequenceModel& model) {
  expectEqual("prefix", sequence.prefix(), model.prefix);
  expectEqual("postfix", sequence.postfix(), model.postfix);
  expectEqual("startFrame", sequence.startFrame(), model.startFrame);
  expectEqual("endFrameInclusive", sequence.endFrameInclusive(), model.endFrameInclusive);
  expectEqual("numberOfDigits", sequence.numberOfDigits(), model.numberOfDigits);
  expectEqual("duration", sequence.duration(), model.duration());
}

template <typename NameOf>
void expectName(const std::optional<std::string>& expected, NameOf nameOf) {
  std::optional<std::string> name;
  const std::string output = outputOf([&] { name = nameOf(); });
  expectEqual("file name", name, expected);
  expectEqual("output", output, std::string(expected ? "" : FileSequenceModel::kOutOfRange));
}

void expectNamesAsModelled(const RVXFileSequence& sequence, const FileSequenceModel& model, int32_t number) {
  const auto given = static_cast<uint64_t>(int64_t{number});
  expectName(model.fileName(given), [&] { return sequence.filenameForFrameNumber(given); });
  for (const uint64_t index :
       {uint64_t{0}, model.duration() / 2, model.duration() - 1, model.duration(), given}) {
    expectName(model.fileNameOfIndex(index), [&] { return sequence.filenameForIndex(index); });
  }
}

void expectSequenceAsModelled(const std::string& identifier, int32_t number) {
  const auto model = FileSequenceModel::ofIdentifier(identifier);
  std::optional<RVXFileSequence> sequence;
  const std::string output = outputOf([&] { sequence = RVXFileSequence::initWithIdentifier(identifier); });
  expectEqual("is a sequence", sequence.has_value(), model.has_value());
  expectEqual("output", output, std::string(model ? "" : FileSequenceModel::kNoHashes));
  if (!model) return;
  expectPartsAsModelled(*sequence, *model);
  expectNamesAsModelled(*sequence, *model, number);
}

void expectTemplateAsModelled(const std::string& nameTemplate, int32_t number) {
  for (const int widestField : {0, 4096}) {
    expectEqual("name from template", frameNameFromTemplate(nameTemplate, number, widestField),
                FrameNameModel::name(nameTemplate, number, widestField));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<std::string> texts = cStringsOfInput(data, size);
  texts.resize(3);
  const int32_t number = leadingNumberInModel(texts[1]);
  expectSequenceAsModelled(texts[0], number);
  expectTemplateAsModelled(texts[2], number);
  return 0;
}
