#include "segmentation/RunWatershedImpl.h"

template quillon::StWatershedOutcome
quillon::RunWatershed<ORVEN::CNeighborhood2dDiffN8>(const quillon::StWatershedRun& run);
