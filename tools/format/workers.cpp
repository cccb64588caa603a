#include "tools/format/workers.h"

#include <csignal>
#include <system_error>
#include <utility>

namespace Tools {

namespace {

/** While the object lives, threads are started that leave signals to the others. */
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, &before);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }
    SignalsBlocked(SignalsBlocked const&) = delete;
    SignalsBlocked& operator=(SignalsBlocked const&) = delete;

private:
    sigset_t before = {};
};

}  // namespace

FormWorkers::FormWorkers(unsigned threads, MakeForm const& make_form, Write write_)
    : write(std::move(write_)), collecting(std::make_shared<Job>()) {
    const SignalsBlocked blocked;
    for (unsigned i = 0; i < threads; ++i) {
        forms.push_back(make_form());
        try {
            threads_running.emplace_back([this, form = forms.back().get()] { work(*form); });
        } catch (std::system_error const&) {
            return;  // fewer have to do
        }
    }
}

FormWorkers::~FormWorkers() {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        stopping = true;
        waiting.clear();
    }
    changed.notify_all();
    for (std::thread& thread : threads_running) thread.join();
}

void FormWorkers::append(InputFrame const& frame) {
    collecting->frames.push_back(frame);
    collecting->payloads += frame.payload;
    if (collecting->payloads.size() >= kJobSize) submit();
}

void FormWorkers::finish() {
    if (!collecting->frames.empty()) submit();
    while (!in_order.empty()) write_oldest();
}

void FormWorkers::submit() {
    in_order.push_back(collecting);
    {
        const std::lock_guard<std::mutex> lock(mutex);
        waiting.push_back(std::exchange(collecting, make_job()));
    }
    changed.notify_all();
    while (in_order.size() > 2 * threads_running.size()) write_oldest();
}

void FormWorkers::write_oldest() {
    const std::shared_ptr<Job> job = in_order.front();
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [&] { return job->done; });
    }
    in_order.pop_front();
    if (job->problem) std::rethrow_exception(job->problem);
    write(job->text);
    spare.push_back(job);
}

std::shared_ptr<FormWorkers::Job> FormWorkers::make_job() {
    if (spare.empty()) return std::make_shared<Job>();
    std::shared_ptr<Job> job = std::move(spare.back());
    spare.pop_back();
    job->frames.clear();
    job->payloads.clear();
    job->text.clear();
    job->done = false;
    return job;
}

void FormWorkers::work(FrameForm& form) {
    std::shared_ptr<Job> job;
    TextBuffer text([&job](std::string_view piece) { job->text += piece; });
    while ((job = take_job())) {
        bring_into_form(form, *job, text);
        {
            const std::lock_guard<std::mutex> lock(mutex);
            job->done = true;
        }
        changed.notify_all();
    }
}

std::shared_ptr<FormWorkers::Job> FormWorkers::take_job() {
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [this] { return stopping || !waiting.empty(); });
    if (stopping) return nullptr;
    std::shared_ptr<Job> job = std::move(waiting.front());
    waiting.pop_front();
    return job;
}

void FormWorkers::bring_into_form(FrameForm& form, Job& job, TextBuffer& text) {
    try {
        std::string_view rest = job.payloads;
        for (InputFrame& frame : job.frames) {
            frame.payload = rest.substr(0, frame.payload.size());
            rest.remove_prefix(frame.payload.size());
            form.append(frame, text);
        }
        text.hand_over();
    } catch (...) {
        job.problem = std::current_exception();
    }
}

}  // namespace Tools
