#include "Metrics.h"

#include <prometheus/counter.h>
#include <prometheus/histogram.h>
#include <prometheus/registry.h>
#include <prometheus/text_serializer.h>

#include <sstream>
#include <utility>
#include <vector>

namespace storage::kvxserver {

class Metrics::Impl {
public:
    /// The counters of one operation.
    struct Counters {
        std::map<std::pair<std::int32_t, unsigned>, prometheus::Counter*> byCode;
        prometheus::Histogram* seconds = nullptr;
    };
    struct Shown {
        std::string name;
        std::string help;
        std::function<double()> value;
        bool isTotal = false;
    };

    prometheus::Registry registry;
    prometheus::Family<prometheus::Counter>& calls =
        prometheus::BuildCounter()
            .Name("kvxd_calls_total")
            .Help("Calls by operation, code of the error and HTTP status")
            .Register(registry);
    prometheus::Family<prometheus::Histogram>& seconds =
        prometheus::BuildHistogram()
            .Name("kvxd_call_seconds")
            .Help("Time from a request's head to the end of its answer")
            .Register(registry);
    prometheus::Family<prometheus::Counter>& bytes = prometheus::BuildCounter()
                                                         .Name("kvxd_bytes_total")
                                                         .Help("Bytes of bodies received and sent")
                                                         .Register(registry);
    prometheus::Counter& bytesIn = bytes.Add({{"direction", "in"}});
    prometheus::Counter& bytesOut = bytes.Add({{"direction", "out"}});
    std::mutex mutex;
    std::map<std::string, Counters, std::less<>> counters;
    std::vector<Shown> shown;
};

Metrics::Metrics() : impl_(std::make_unique<Impl>()) {}

Metrics::~Metrics() = default;

void Metrics::count(const CallRecord& call) {
    prometheus::Counter* counter = nullptr;
    prometheus::Histogram* seconds = nullptr;
    {
        // Only names of the server's own become labels: a caller must not make new ones.
        const std::lock_guard<std::mutex> lock(impl_->mutex);
        auto found = impl_->counters.find(call.operation);
        if (found == impl_->counters.end()) {
            found = impl_->counters.try_emplace(std::string(call.operation)).first;
            found->second.seconds = &impl_->seconds.Add(
                {{"operation", found->first}}, prometheus::Histogram::BucketBoundaries{
                                                   0.0005, 0.001, 0.0025, 0.005, 0.01, 0.025, 0.05,
                                                   0.1, 0.25, 0.5, 1, 2.5, 5, 10, 30, 60});
        }
        // A transport may give any number as a code.
        const std::int32_t code = !call.code                          ? -1
                                  : *call.code < 0 || *call.code > 13 ? 12
                                                                      : *call.code;
        auto& slot = found->second.byCode[{code, call.status}];
        if (slot == nullptr) {
            slot = &impl_->calls.Add({{"operation", found->first},
                                      {"code", code < 0 ? "" : std::to_string(code)},
                                      {"status", std::to_string(call.status)}});
        }
        counter = slot;
        seconds = found->second.seconds;
    }
    counter->Increment();
    seconds->Observe(std::chrono::duration<double>(call.duration).count());
    impl_->bytesIn.Increment(static_cast<double>(call.bytesIn));
    impl_->bytesOut.Increment(static_cast<double>(call.bytesOut));
}

void Metrics::show(const std::string& name, const std::string& help, std::function<double()> value,
                   bool isTotal) {
    impl_->shown.push_back({name, help, std::move(value), isTotal});
}

std::string Metrics::text() const {
    std::vector<prometheus::MetricFamily> families = impl_->registry.Collect();
    for (const Impl::Shown& shown : impl_->shown) {
        prometheus::ClientMetric metric;
        (shown.isTotal ? metric.counter.value : metric.gauge.value) = shown.value();
        families.push_back(
            {shown.name,
             shown.help,
             shown.isTotal ? prometheus::MetricType::Counter : prometheus::MetricType::Gauge,
             {metric}});
    }
    std::ostringstream out;
    prometheus::TextSerializer().Serialize(out, families);
    return out.str();
}

}  // namespace storage::kvxserver
