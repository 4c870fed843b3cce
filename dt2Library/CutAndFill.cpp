#include "CutAndFill.h"
#include "CutAndFillImpl.h"

namespace MIREL25D {

CutAndFill::CutAndFill(Zone2* pZoneBefore, Zone2* pZoneAfter, double ignoreThreshold) : pImpl(new CutAndFillImpl(pZoneBefore, pZoneAfter, ignoreThreshold)) {}

CutAndFill::~CutAndFill()
{
	delete pImpl;
}

bool CutAndFill::go()
{
	return pImpl->go();
}

uint64_t CutAndFill::getNumberOfComponents() const
{
	return pImpl->getNumberOfComponents();
}

CAF_Component* CutAndFill::getComponent(uint64_t index) const
{
	return pImpl->getComponent(static_cast<size_t>(index));
}

bool CutAndFill::getDiffZone(Zone2*& pDiffZone, std::map<Point2*, std::pair<double, double>>& mVtx2BeforeAfter)
{
	return pImpl->getDiffZone(pDiffZone, mVtx2BeforeAfter);
}

void CutAndFill::show(Visualizer2* pVis) const
{
	pImpl->show(pVis);
}

void CutAndFill::subscribe(MsgType msgType, MsgBase* pListener)
{
	pImpl->subscribe(msgType, pListener);
}

void CutAndFill::unsubscribe(MsgType msgType, MsgBase* pListener)
{
	pImpl->unsubscribe(msgType, pListener);
}

} // namespace MIREL25D
