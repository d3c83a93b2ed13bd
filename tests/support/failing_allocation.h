// Faults in the global allocation functions, which the test program replaces: one allocation that fails.
#pragma once

/// While it lives, the allocation of the calling thread that comes after `before` others fails, once.
class FailingAllocation {
  public:
    explicit FailingAllocation(int before);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation &) = delete;
    FailingAllocation &operator=(const FailingAllocation &) = delete;

    /// Whether it has come to that.
    static bool happened();
};

/// Runs `attempt` with its first, its second, ... allocation failing, until one run needs no more allocations
/// than that. `attempt` returns normally or throws; `Failure` is what it must throw when an allocation failed
/// (anything else is passed on). Calls `afterFailure` after each. Returns the number of failures.
template <class Failure, class Attempt, class AfterFailure>
int failEachAllocation(const Attempt &attempt, const AfterFailure &afterFailure) {
    for (int failures = 0;; ++failures) {
        try {
            const FailingAllocation fault(failures);
            attempt();
            if (!FailingAllocation::happened())
                return failures;
            // The attempt has coped with the failure by other means.
        } catch (Failure) {
            afterFailure();
        }
    }
}
