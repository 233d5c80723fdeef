#include "component/com/EnumVariant.h"

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "component/com/ComVariant.h"
#include "component/com/ServerLock.h"
#include "core/Error.h"

namespace vmlib::com {

namespace {

class Enumerator final : public Counted<IEnumVARIANT>
{
public:
    using Items = std::shared_ptr<const std::vector<Variant>>;
    explicit Enumerator(Items items, std::size_t next = 0) : items_(std::move(items)), next_(next) {}

    HRESULT STDMETHODCALLTYPE Next(ULONG count, VARIANT* into, ULONG* fetched) override
    {
        if (!into || (!fetched && count != 1)) return E_POINTER;
        ULONG done = 0;
        try {
            for (; done < count && next_ < items_->size(); ++done, ++next_) {
                ::VariantInit(&into[done]);
                ToVariant((*items_)[next_], into[done]);
            }
        } catch (...) {
            while (done > 0) ::VariantClear(&into[--done]);
            if (fetched) *fetched = 0;
            return E_OUTOFMEMORY;
        }
        if (fetched) *fetched = done;
        return done == count ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override
    {
        const std::size_t left = items_->size() - next_;
        next_ += std::min<std::size_t>(count, left);
        return count <= left ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Reset() override
    {
        next_ = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** copy) override
    {
        if (!copy) return E_POINTER;
        *copy = new (std::nothrow) Enumerator(items_, next_);
        return *copy ? S_OK : E_OUTOFMEMORY;
    }

private:
    ServerLock lock_;
    Items items_;
    std::size_t next_;
};

}  // namespace

ComPtr<IUnknown> MakeEnumerator(const Variant& items)
{
    if (!items.IsArray()) throw Error(ErrorNumber::NotACollection);
    auto list = std::make_shared<const std::vector<Variant>>(items.AsArray().Items());
    return ComPtr<IUnknown>::Attach(new Enumerator(std::move(list)));
}

}  // namespace vmlib::com
