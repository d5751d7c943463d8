#include "ThumbnailViewController.h"

#include "LocalImageFileItem.h"
#include "ThumbnailDelegate.h"
#include "ThumbnailListModel.h"
#include "ThumbnailProxyModel.h"
#include "ThumbnailView.h"

#include <QSet>

namespace Zyn {
namespace UiToolkit {

ThumbnailViewController::ThumbnailViewController(ThumbnailProxyModel* proxy, ThumbnailDelegate* delegate,
                                                 QObject* parent)
    : QObject(parent)
    , m_model(new ThumbnailListModel(this))
    , m_proxy(proxy ? proxy : new ThumbnailProxyModel)
    , m_delegate(delegate ? delegate : new ThumbnailDelegate)
{
    m_proxy->setParent(this);
    m_delegate->setParent(this);
    m_delegate->setShowCheckBox(false);
    m_proxy->setSourceModel(m_model);

    m_view = new ThumbnailView;
    m_view->setObjectName(QStringLiteral("thumbnail_browser"));
    m_view->setItemDelegate(m_delegate);
    m_view->setModel(m_proxy);
    m_view->setSelectionMode(QAbstractItemView::SingleSelection);
    connect(m_view.data(), &QAbstractItemView::activated, this, [this](const QModelIndex& index) {
        emit imageToOpen(index.data(ThumbnailListModel::PathRole).toString());
    });
    connect(m_proxy, &QAbstractItemModel::rowsInserted, this, &ThumbnailViewController::imagesChanged);
    connect(m_proxy, &QAbstractItemModel::rowsRemoved, this, &ThumbnailViewController::imagesChanged);
    connect(m_proxy, &QAbstractItemModel::modelReset, this, &ThumbnailViewController::imagesChanged);
    connect(m_proxy, &QAbstractItemModel::layoutChanged, this, &ThumbnailViewController::imagesChanged);
}

ThumbnailViewController::~ThumbnailViewController()
{
    // The view may have been given to a layout; it goes with its parent.
    if (m_view && !m_view->parent())
        delete m_view.data();
}

ThumbnailView* ThumbnailViewController::view() const
{
    return m_view;
}

void ThumbnailViewController::setFiles(const QStringList& files)
{
    const QSet<QString> wanted(files.cbegin(), files.cend());
    QStringList gone;
    for (const QString& path : m_model->paths())
        if (!wanted.contains(path))
            gone << path;
    if (!gone.isEmpty())
        m_model->removePaths(gone);
    QVector<ThumbnailListModel::ItemPtr> items;
    for (const QString& path : files)
        if (!m_model->contains(path))
            items << ThumbnailListModel::ItemPtr(new LocalImageFileItem(path));
    if (!items.isEmpty())
        m_model->appendItems(items);
}

QStringList ThumbnailViewController::files() const
{
    return m_model->paths();
}

QStringList ThumbnailViewController::visiblePaths() const
{
    QStringList paths;
    for (int row = 0; row < m_proxy->rowCount(); ++row)
        paths << m_proxy->index(row, 0).data(ThumbnailListModel::PathRole).toString();
    return paths;
}

int ThumbnailViewController::visibleCount() const
{
    return m_proxy->rowCount();
}

void ThumbnailViewController::setCurrentPath(const QString& path)
{
    const int row = m_model->rowOf(path);
    if (row < 0 || !m_view)
        return;
    const QModelIndex index = m_proxy->mapFromSource(m_model->index(row, 0));
    if (!index.isValid())
        return;
    m_view->setCurrentIndex(index);
    m_view->scrollTo(index);
}

void ThumbnailViewController::refresh()
{
    if (m_view)
        m_view->viewport()->update();
}

} // namespace UiToolkit
} // namespace Zyn
