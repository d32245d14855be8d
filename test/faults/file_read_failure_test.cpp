// A model file whose reading fails or ends after each of its bytes.

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>
#include <string>

#include "test/faults/rig.h"
#include "test/support/files.h"
#include "test/support/glb_builder.h"
#include "test/support/read_fault.h"

namespace {

// A short read leaves the rest of the file's bytes zero, an error no less: what comes of it is what comes of a file
// that has the zeros.
TEST(FileReadFailureTest, AReadThatIsCutShortIsLikeAFileOfZerosAfterTheCut) {
  const glb_builder::Bytes file =
      glb_builder::Glb().Add(glb_builder::Triangle().Color("1, 0.5, 0.25")).Add(glb_builder::Triangle()).Build();
  const TemporaryFolder folder;
  const EncodableValue arguments = Map({{"modelPath", folder.Write("model.glb", file)}});
  const fakes::Bytes load_model = Rig::Encode("loadModel", arguments);
  const fakes::Bytes load_zeros = Rig::Encode("loadModel", Map({{"modelPath", folder.PathOf("zeros.glb")}}));
  std::map<Outcome, int> outcomes;
  size_t points = 0;
  std::optional<Rig> captured;  // standard output, too
  Rig& rig = captured.emplace();
  rig.CreateViewer();
  for (const auto kind : {ReadFault::kEnd, ReadFault::kError}) {
    for (size_t bytes = 0; bytes <= file.size(); ++bytes) {
      SCOPED_TRACE("after byte " + std::to_string(bytes));
      glb_builder::Bytes cut = file;
      std::fill(cut.begin() + static_cast<std::ptrdiff_t>(bytes), cut.end(), uint8_t{0});
      std::filesystem::remove(folder.PathOf("zeros.glb"));  // to truncate it would wait for the disk
      folder.Write("zeros.glb", cut);
      const Outcome expected = rig.OutcomeOf(rig.Deliver(load_zeros));
      rig.TakeErrors();

      bool happened = false;
      const char* thrown = nullptr;
      {
        const ReadFault fault(bytes, kind);
        thrown = rig.Deliver(load_model);
        happened = fault.happened();
      }
      const Outcome outcome = rig.OutcomeOf(thrown);
      EXPECT_EQ(outcome, expected);
      const bool warned = rig.TakeErrors().find(kUnanswered) != std::string::npos;
      EXPECT_EQ(warned, outcome.rfind("throws", 0) == 0);
      EXPECT_FALSE(IsLocked(rig.State()->mutex));
      EXPECT_EQ(rig.Call("loadModel", arguments), "success true");
      EXPECT_EQ(happened, bytes < file.size());
      if (HasFailure()) break;
      if (bytes == file.size()) continue;  // nothing is lost: the run that succeeds
      ++points;
      ++outcomes[outcome.substr(0, outcome.find(':'))];
    }
  }
  captured.reset();
  for (const auto& [outcome, count] : outcomes) std::cout << "  " << outcome << ": " << count << " times\n";
  EXPECT_GT(outcomes["error LOAD_FAILED"], 0);
  EXPECT_GT(outcomes["success true"], 0) << "what is cut off may be zeros anyway, or coordinates";
  ReportPoints("File reads", "loadModel", points);
}

}  // namespace
