#pragma once

#include <cstddef>
#include <exception>
#include <string>
#include <utility>

#include "database/BucketPlan.h"
#include "database/Connection.h"

namespace storage::kvxstore::scheduler {

/// What the scheduler must know of a job.
struct JobTraits {
    database::Access access = database::Access::READ;
    /// Bytes of content that the job carries.
    std::size_t weight = 0;
    /// Jobs of the same strand take effect in the order in which they came; an empty one binds
    /// nothing.
    std::string strand = {};
    /// May use the room on the disk that is kept for what deletes.
    bool usesSpareRoom = false;
    /// Where several threads write, jobs with the same key are run in the order in which they came,
    /// by one of them at a time; an empty one binds nothing.
    std::string key = {};
    /// Hands something on while it runs, so that it must not run again.
    bool runsOnce = false;
};

/// A piece of work: run by a worker, then finished on a completion thread. It has one owner at a
/// time, which is why it is finished exactly once.
class Job {
public:
    explicit Job(JobTraits traits) : traits_(std::move(traits)) {}
    virtual ~Job() = default;
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    /// Says which buckets run() will work in, as far as that is known without reading.
    virtual void plan(database::BucketPlan& /*plan*/) const {}

    /// Asks ahead for what run() reads first.
    virtual void prime(database::Connection& /*connection*/) const {}

    /// Does the work in the transaction that the connection is in. May be run again in another
    /// transaction when the first one is undone.
    virtual void run(database::Connection& connection) = 0;

    /// Hands over the outcome of the last run, or the error.
    virtual void finish(std::exception_ptr error) noexcept = 0;

    /// Whether nobody wants the outcome any more.
    virtual bool isCancelled() const { return false; }

    const JobTraits& traits() const { return traits_; }

private:
    const JobTraits traits_;
};

}  // namespace storage::kvxstore::scheduler
