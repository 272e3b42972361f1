#include "net/xumsocketscommonprops.h"

namespace xum {

TxumSocketsCommonProps::TxumSocketsCommonProps(TComponent* AOwner) : TComponent(AOwner) {}

TxumSocketsCommonProps::~TxumSocketsCommonProps() = default;

}  // namespace xum
