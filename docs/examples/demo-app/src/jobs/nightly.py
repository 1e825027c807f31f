"""Nightly jobs of the shop."""


def reorder(db):
    # Everything below its reorder level, from vw_reorder_list.
    for row in db.query("SELECT * FROM vw_reorder_list"):
        db.execute("CALL usp_restock(%s, %s)", (row.product_id, row.quantity))


def purge(db):
    db.execute("CALL public.usp_purge_audit_log(90)")


def report(db):
    return db.query("SELECT * FROM vw_monthly_sales")
