#include "jet/ImageStore.h"

#include <cstring>

#include "jet/StorageError.h"

namespace vmlib::jet {

ImageStore::ImageStore(Files& files, Text folder, std::size_t slotsInMemory)
    : files_(files),
      folder_(std::move(folder)),
      slotsInMemory_(static_cast<Slot>(slotsInMemory)),
      nextInFile_(static_cast<Slot>(slotsInMemory))
{
}

ImageStore::~ImageStore()
{
    if (file_ == nullptr) return;
    const Text path = file_->Path();
    file_.reset();
    try {
        files_.Delete(path);
    } catch (const Error&) {
        // A temporary file that stays behind is nobody's document.
    }
}

ImageStore::Slot ImageStore::Put(std::span<const std::uint8_t, pageSize> page)
{
    if (freeInMemory_.empty() && memory_.size() < slotsInMemory_) {
        freeInMemory_.push_back(static_cast<Slot>(memory_.size()));
        memory_.push_back(std::make_unique<Image>());
    }
    if (!freeInMemory_.empty()) {
        const Slot slot = freeInMemory_.back();
        freeInMemory_.pop_back();
        std::memcpy(memory_[slot]->data(), page.data(), pageSize);  // an algorithm would go byte by byte here
        return slot;
    }
    const Slot slot = freeInFile_.empty() ? nextInFile_ : freeInFile_.back();
    OnDisk([&] { Overflow().WriteAt(OffsetOf(slot), page); });
    if (freeInFile_.empty()) {
        ++nextInFile_;
    } else {
        freeInFile_.pop_back();
    }
    return slot;
}

void ImageStore::Get(Slot slot, std::span<std::uint8_t, pageSize> into)
{
    if (slot < slotsInMemory_) {
        std::memcpy(into.data(), memory_[slot]->data(), pageSize);
        return;
    }
    if (OnDisk([&] { return file_->ReadAt(OffsetOf(slot), into); }) != pageSize)
        throw Error(ErrorNumber::DiskOrNetwork);
}

void ImageStore::Drop(Slot slot)
{
    (slot < slotsInMemory_ ? freeInMemory_ : freeInFile_).push_back(slot);
}

OpenFile& ImageStore::Overflow()
{
    if (file_ == nullptr) {
        const Text path = files_.CreateUnique(folder_, u"jet").first;
        file_ = files_.Open(path, {FileAccess::ReadWrite, FileSharing::Exclusive, FileCreation::OpenExisting});
    }
    return *file_;
}

}  // namespace vmlib::jet
