// The setup program while its calls fail and while it is killed.

#include "support/setup_program.h"

namespace kelvaro {
namespace {

namespace fs = std::filesystem;

// The exit code of a run that the fault has ended.
constexpr DWORD kKilled = 99;

class SetupFaults : public SetupTest {
  public:
    static void TestEveryFault(const std::wstring& installed, const std::wstring& arguments);
};

// Runs setup with every fault, after an earlier version was installed in `installed`.
void SetupFaults::TestEveryFault(const std::wstring& installed, const std::wstring& arguments) {
    const auto prepare = [&] {
        Reset(KELVARO_SETUP_FAULTS);
        InstallEarlierVersion(installed);
    };
    const auto runWithFault = [&](const std::wstring& fault) {
        const ScopedVariable variable(L"KELVARO_FAULT", fault);
        return Run(arguments);
    };
    prepare();
    const State before = ReadState();
    ASSERT_EQ(runWithFault(L"none").status, 0U);
    const State after = ReadState();
    ASSERT_NE(Difference(before, after), "");

    int steps = 0;
    int stepsWithoutLibrary = 0;
    for (const std::wstring fault : {L"kill ", L"refuse ", L"refuse-from "}) {
        int finished = 0;
        // Undoing fails as well, at the same few steps, so not every start matters.
        const int stride = fault == L"refuse-from " ? 4 : 1;
        for (int step = 1; steps == 0 || step < steps; step += stride) {
            prepare();
            const Result result = runWithFault(fault + std::to_wstring(step));
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
                                   !fs::exists(RegisteredLibrary());
            // A removal succeeds without deleting the empty directory. The next removal deletes it.
            if (result.status == 0 && arguments.starts_with(L"uninstall")) {
                EXPECT_EQ(Run(arguments).status, 0U);
            }
            // A run that fails before it changes anything repairs.
            fs::remove(JoinPath(kSource, kEnglish));
            EXPECT_EQ(Run(kInstall).status, 1U);
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

TEST_F(SetupFaults, FirstInstallation) {
    TestEveryFault(kOther, kInstall);
}

TEST_F(SetupFaults, Update) {
    TestEveryFault(kTarget, kInstall);
}

TEST_F(SetupFaults, Removal) {
    TestEveryFault(kTarget, kUninstall);
}

}  // namespace
}  // namespace kelvaro
