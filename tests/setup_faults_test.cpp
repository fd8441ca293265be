// The setup program while its calls fail and while it is killed.

#include "support/setup_program.h"

namespace kelvaro {
namespace {

namespace fs = std::filesystem;

// The exit code of a run that the fault has ended.
constexpr DWORD kKilled = 99;

struct Scenario {
    const char* name;
    const wchar_t* installed;  // the directory of an earlier version
    std::wstring arguments;
};

// Tells GoogleTest how to print the parameter.
void PrintTo(const Scenario& scenario, std::ostream* stream) {
    *stream << scenario.name;
}

class SetupFaults : public SetupTest, public testing::WithParamInterface<Scenario> {
  public:
    // Restores the state before the run.
    static void Prepare() {
        Reset(KELVARO_SETUP_FAULTS);
        InstallEarlierVersion(GetParam().installed);
    }

    static Result RunWithFault(const std::wstring& fault) {
        const ScopedVariable variable(L"KELVARO_FAULT", fault);
        return Run(GetParam().arguments);
    }

    // A run that fails before it changes anything, but repairs.
    static void Repair() {
        const std::wstring file = JoinPath(kSource, kEnglish);
        fs::rename(file, file + L"x");
        const Result result = Run(L"install C:\\Test\\Target");
        EXPECT_EQ(result.status, 1U) << result.output;
        fs::rename(file + L"x", file);
    }
};

TEST_P(SetupFaults, LeaveTheOldOrTheNewState) {
    Prepare();
    const State before = ReadState();
    ASSERT_EQ(RunWithFault(L"none").status, 0U);
    const State after = ReadState();
    ASSERT_NE(Difference(before, after), "");

    int steps = 0;
    int stepsWithoutLibrary = 0;
    for (const std::wstring fault : {L"kill ", L"refuse ", L"refuse-from "}) {
        int finished = 0;
        // Undoing fails as well, at the same few steps, so not every start matters.
        const int stride = fault == L"refuse-from " ? 4 : 1;
        for (int step = 1; steps == 0 || step < steps; step += stride) {
            Prepare();
            const Result result = RunWithFault(fault + std::to_wstring(step));
            if (steps == 0 && result.status != kKilled) {
                steps = step;
                break;
            }
            const std::string where = Utf8(fault) + std::to_string(step) + '\n' + result.output;
            if (fault == L"refuse " && result.status == 1) {
                EXPECT_EQ(Difference(before, ReadState()), "") << where;
                continue;
            }
            stepsWithoutLibrary += result.status == kKilled && !RegisteredLibrary().empty() &&
                                   !Exists(RegisteredLibrary());
            // A removal succeeds without deleting the empty directory. The next removal deletes it.
            if (result.status == 0 && GetParam().arguments.starts_with(L"uninstall")) {
                EXPECT_EQ(Run(GetParam().arguments).status, 0U);
            }
            Repair();
            const State repaired = ReadState();
            const bool isNew = Difference(after, repaired).empty();
            EXPECT_TRUE(isNew || Difference(before, repaired).empty())
                << where << "differs from the old state in\n"
                << Difference(before, repaired) << "and from the new one in\n"
                << Difference(after, repaired);
            EXPECT_TRUE(result.status != 0 || isNew) << where;
            EXPECT_TRUE(result.status != 1 || !isNew) << where;
            finished += isNew ? 1 : 0;
        }
        EXPECT_GT(steps, 10);
        EXPECT_LE(stepsWithoutLibrary, 1) << "registered without a library";
        EXPECT_TRUE(finished > 0 || stride > 1) << Utf8(fault);
    }
}

INSTANTIATE_TEST_SUITE_P(
    , SetupFaults,
    testing::Values(Scenario{"FirstInstallation", SetupTest::kOther, L"install C:\\Test\\Target"},
                    Scenario{"Update", SetupTest::kTarget, L"install C:\\Test\\Target"},
                    Scenario{"Removal", SetupTest::kTarget, L"uninstall C:\\Test\\Target"}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace kelvaro
