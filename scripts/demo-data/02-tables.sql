-- Tables of the demo shop, owned by korvo_dev.
CREATE TABLE categories (
    category_id   serial PRIMARY KEY,
    parent_id     integer REFERENCES categories,
    name          varchar(80) NOT NULL UNIQUE
);

CREATE TABLE suppliers (
    supplier_id   serial PRIMARY KEY,
    name          varchar(120) NOT NULL,
    email         varchar(200),
    phone         varchar(40),
    active        boolean NOT NULL DEFAULT true
);

CREATE TABLE products (
    product_id    serial PRIMARY KEY,
    sku           varchar(32) NOT NULL UNIQUE,
    name          varchar(200) NOT NULL,
    category_id   integer NOT NULL REFERENCES categories,
    supplier_id   integer REFERENCES suppliers,
    unit_price    numeric(10,2) NOT NULL CHECK (unit_price >= 0),
    discontinued  boolean NOT NULL DEFAULT false,
    updated_at    timestamptz NOT NULL DEFAULT now()
);

CREATE TABLE price_history (
    product_id    integer NOT NULL REFERENCES products ON DELETE CASCADE,
    changed_at    timestamptz NOT NULL DEFAULT now(),
    old_price     numeric(10,2),
    new_price     numeric(10,2) NOT NULL,
    changed_by    name NOT NULL DEFAULT current_user,
    PRIMARY KEY (product_id, changed_at)
);

CREATE TABLE warehouses (
    warehouse_id  serial PRIMARY KEY,
    code          char(4) NOT NULL UNIQUE,
    city          varchar(80) NOT NULL
);

CREATE TABLE stock (
    warehouse_id  integer NOT NULL REFERENCES warehouses,
    product_id    integer NOT NULL REFERENCES products,
    quantity      integer NOT NULL DEFAULT 0 CHECK (quantity >= 0),
    reorder_level integer NOT NULL DEFAULT 10,
    PRIMARY KEY (warehouse_id, product_id)
);

CREATE TABLE customers (
    customer_id   serial PRIMARY KEY,
    first_name    varchar(60) NOT NULL,
    last_name     varchar(60) NOT NULL,
    email         varchar(200) NOT NULL UNIQUE,
    created_at    timestamptz NOT NULL DEFAULT now(),
    loyalty_points integer NOT NULL DEFAULT 0
);

CREATE TABLE addresses (
    address_id    serial PRIMARY KEY,
    customer_id   integer NOT NULL REFERENCES customers ON DELETE CASCADE,
    kind          char(1) NOT NULL CHECK (kind IN ('B', 'S')),
    street        varchar(200) NOT NULL,
    postcode      varchar(12) NOT NULL,
    city          varchar(80) NOT NULL,
    country       char(2) NOT NULL DEFAULT 'DE'
);

CREATE TABLE employees (
    employee_id   serial PRIMARY KEY,
    login         name NOT NULL UNIQUE,
    full_name     varchar(120) NOT NULL,
    manager_id    integer REFERENCES employees
);

CREATE TABLE orders (
    order_id      serial PRIMARY KEY,
    customer_id   integer NOT NULL REFERENCES customers,
    employee_id   integer REFERENCES employees,
    ordered_at    timestamptz NOT NULL DEFAULT now(),
    status        varchar(12) NOT NULL DEFAULT 'open'
                  CHECK (status IN ('open', 'paid', 'shipped', 'cancelled')),
    total         numeric(12,2) NOT NULL DEFAULT 0
);

CREATE TABLE order_items (
    order_id      integer NOT NULL REFERENCES orders ON DELETE CASCADE,
    line_no       integer NOT NULL,
    product_id    integer NOT NULL REFERENCES products,
    quantity      integer NOT NULL CHECK (quantity > 0),
    unit_price    numeric(10,2) NOT NULL,
    PRIMARY KEY (order_id, line_no)
);

CREATE TABLE payments (
    payment_id    serial PRIMARY KEY,
    order_id      integer NOT NULL REFERENCES orders,
    paid_at       timestamptz NOT NULL DEFAULT now(),
    amount        numeric(12,2) NOT NULL CHECK (amount > 0),
    method        varchar(10) NOT NULL CHECK (method IN ('card', 'invoice', 'cash'))
);

CREATE TABLE shipments (
    shipment_id   serial PRIMARY KEY,
    order_id      integer NOT NULL REFERENCES orders,
    warehouse_id  integer NOT NULL REFERENCES warehouses,
    shipped_at    timestamptz,
    tracking_no   varchar(40)
);

CREATE TABLE audit_log (
    audit_id      bigserial PRIMARY KEY,
    table_name    name NOT NULL,
    action        char(1) NOT NULL,
    row_key       text,
    logged_at     timestamptz NOT NULL DEFAULT now(),
    logged_by     name NOT NULL DEFAULT current_user
);
