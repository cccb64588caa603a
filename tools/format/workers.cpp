#include "tools/format/workers.h"

#include <system_error>
#include <utility>

#include "kit/base/signals_blocked.h"

namespace Tools {

FormatWorkers::FormatWorkers(unsigned threads, MakeFormatter const& make_formatter, Write write)
    : write_(std::move(write)), collecting_(std::make_shared<Job>()) {
    const Kit::SignalsBlocked blocked;
    for (unsigned i = 0; i < threads; ++i) {
        formatters_.push_back(make_formatter());
        try {
            threads_running_.emplace_back(
                [this, formatter = formatters_.back().get()] { work(*formatter); });
        } catch (std::system_error const&) {
            return;  // fewer have to do
        }
    }
}

FormatWorkers::~FormatWorkers() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
        waiting_.clear();
    }
    changed_.notify_all();
    for (std::thread& thread : threads_running_) thread.join();
}

void FormatWorkers::append(InputFrame const& frame) {
    collecting_->frames.push_back(frame);
    collecting_->payloads += frame.payload;
    if (collecting_->payloads.size() >= kJobSize) submit();
}

void FormatWorkers::finish() {
    if (!collecting_->frames.empty()) submit();
    while (!in_order_.empty()) write_oldest();
}

void FormatWorkers::submit() {
    in_order_.push_back(collecting_);
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        waiting_.push_back(std::exchange(collecting_, make_job()));
    }
    changed_.notify_all();
    while (in_order_.size() > 2 * threads_running_.size()) write_oldest();
}

void FormatWorkers::write_oldest() {
    const std::shared_ptr<Job> job = in_order_.front();
    {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [&] { return job->done; });
    }
    in_order_.pop_front();
    if (job->problem) std::rethrow_exception(job->problem);
    write_(job->text);
    spare_.push_back(job);
}

std::shared_ptr<FormatWorkers::Job> FormatWorkers::make_job() {
    if (spare_.empty()) return std::make_shared<Job>();
    std::shared_ptr<Job> job = std::move(spare_.back());
    spare_.pop_back();
    job->frames.clear();
    job->payloads.clear();
    job->text.clear();
    job->done = false;
    return job;
}

void FormatWorkers::work(FrameFormatter& formatter) {
    std::shared_ptr<Job> job;
    TextBuffer text([&job](std::string_view piece) { job->text += piece; });
    while ((job = take_job())) {
        format(formatter, *job, text);
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            job->done = true;
        }
        changed_.notify_all();
    }
}

std::shared_ptr<FormatWorkers::Job> FormatWorkers::take_job() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return stopping_ || !waiting_.empty(); });
    if (stopping_) return nullptr;
    std::shared_ptr<Job> job = std::move(waiting_.front());
    waiting_.pop_front();
    return job;
}

void FormatWorkers::format(FrameFormatter& formatter, Job& job, TextBuffer& text) {
    try {
        std::string_view rest = job.payloads;
        for (InputFrame& frame : job.frames) {
            frame.payload = rest.substr(0, frame.payload.size());
            rest.remove_prefix(frame.payload.size());
            formatter.append(frame, text);
        }
        text.hand_over();
    } catch (...) {
        job.problem = std::current_exception();
    }
}

}  // namespace Tools
