def run(db):
    db.execute("trg_Audit")
    return db.call('vw_Orders')
