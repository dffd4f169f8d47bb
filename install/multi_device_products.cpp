// SPDX-License-Identifier: MIT
#include "install/multi_device_products.h"

#include "install/product_data.h"

#include <algorithm>

namespace qx {

bool IsMultiDeviceProduct(TextView instance_id) {
    const Text id = UpperCase(Text(instance_id));
    return id.Contains(TEXT("USB")) && std::ranges::any_of(MultiDeviceProductIds, [&](const WCHAR* product) {
               return id.Contains(product);
           });
}

}  // namespace qx
