#include "service/record_writer.h"

#include <cerrno>
#include <ios>
#include <limits>
#include <utility>

namespace Service {

namespace {

/** The library's own limits of time and size, which the host's take the place of. */
constexpr long kNoFileTime = std::numeric_limits<int32_t>::max();
constexpr unsigned kNoFileSize = 0;

/** The reason that a system call has left; some reason in every case. */
int reason() {
    return errno != 0 ? errno : EIO;
}

/** What a recorder's file is called, and how it is closed without being completed. */
template <typename Recorder>
class OpenedRecorder : public Recorder {
public:
    using Recorder::Recorder;

    std::string path() const { return this->file_name.str(); }

    void abandon() {
        this->file_name.str("");  // no file of this name exists, so none is renamed
        this->close();
    }
};

/** Makes the recorder with the first file: some begin one in their constructor. */
template <typename Recorder>
class LibraryWriter : public RecordWriter {
public:
    using Make = std::unique_ptr<OpenedRecorder<Recorder>> (*)(int id, std::string const& directory,
                                                               std::string const& prefix);

    LibraryWriter(Make make, int id, std::string directory, std::string prefix,
                  RecordWriterLimits limits)
        : make_(make),
          id_(id),
          directory_(std::move(directory)),
          prefix_(std::move(prefix)),
          limits_(limits) {}

    int begin() override {
        errno = 0;
        if (!recorder_) {
            recorder_ = make_(id_, directory_, prefix_);
            recorder_->setFileTime(kNoFileTime);
            recorder_->setMaxFileSize(kNoFileSize);
            recorder_->setMaxFileCount(limits_.max_file_count);
        }
        return recorder_->check_open() ? 0 : reason();
    }

    std::string path() const override { return recorder_->path(); }

    Written write(std::string const& record) override {
        errno = 0;
        try {
            const bool counted = recorder_->Radar::FileWriter::write(record);
            return {counted, reason()};
        } catch (std::ios_base::failure const&) {
            return {false, reason()};
        }
    }

    void complete() override { recorder_->close(); }
    void abandon() override { recorder_->abandon(); }

private:
    Make make_;
    int id_;
    std::string directory_;
    std::string prefix_;
    RecordWriterLimits limits_;
    std::unique_ptr<OpenedRecorder<Recorder>> recorder_;
};

}  // namespace

std::unique_ptr<RecordWriter> make_object_writer(int id, std::string const& directory,
                                                 RecordWriterLimits limits) {
    const auto make = [](int tag, std::string const& where, std::string const&) {
        return std::make_unique<OpenedRecorder<Radar::ObjectFileWriter>>(tag, where, kNoFileTime,
                                                                         true, kNoFileSize);
    };
    return std::make_unique<LibraryWriter<Radar::ObjectFileWriter>>(make, id, directory, "radar",
                                                                    limits);
}

std::unique_ptr<RecordWriter> make_data_writer(std::string const& directory,
                                               std::string const& prefix,
                                               RecordWriterLimits limits) {
    const auto make = [](int, std::string const& where, std::string const& name) {
        return std::make_unique<OpenedRecorder<Radar::DataFileWriter>>(where, kNoFileTime, true,
                                                                       name, kNoFileSize);
    };
    return std::make_unique<LibraryWriter<Radar::DataFileWriter>>(make, 0, directory, prefix,
                                                                  limits);
}

std::unique_ptr<RecordWriter> make_diagnostic_writer(int id, RecordWriterLimits limits) {
    const auto make = [](int tag, std::string const&, std::string const&) {
        return std::make_unique<OpenedRecorder<Radar::DiagnosticFileWriter>>(tag);
    };
    return std::make_unique<LibraryWriter<Radar::DiagnosticFileWriter>>(make, id, "", "radar",
                                                                        limits);
}

}  // namespace Service
